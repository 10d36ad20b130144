#include "cli_run.h"

#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>

namespace velmar::testing {
namespace {

std::string Quote(const std::string& text) {
  std::string quoted = "'";
  for (char c : text) quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
  return quoted + "'";
}

}  // namespace

std::string ReadText(const std::filesystem::path& path) {
  std::ifstream in(path, std::ios::binary);
  std::stringstream text;
  text << in.rdbuf();
  return text.str();
}

std::string Shell(const std::string& command) {
  std::string out;
  if (FILE* pipe = ::popen(command.c_str(), "r")) {
    char buffer[4096];
    for (size_t n; (n = std::fread(buffer, 1, sizeof buffer, pipe)) > 0;) out.append(buffer, n);
    ::pclose(pipe);
  }
  return out;
}

std::vector<std::vector<std::string>> CliResult::Rows() const {
  std::vector<std::vector<std::string>> rows;
  std::istringstream lines(out);
  for (std::string line; std::getline(lines, line);) {
    std::vector<std::string> fields;
    size_t start = 0;
    for (size_t tab; (tab = line.find('\t', start)) != std::string::npos; start = tab + 1) {
      fields.push_back(line.substr(start, tab - start));
    }
    fields.push_back(line.substr(start));
    rows.push_back(std::move(fields));
  }
  return rows;
}

CliRunner::CliRunner() { std::filesystem::create_directories(dir_ / "config"); }

std::string CliRunner::Command() const {
  return "env XDG_CONFIG_HOME=" + Quote((dir_ / "config").string()) + " " + Quote(VELMAR_CLI);
}

CliResult CliRunner::Run(const std::vector<std::string>& args) const {
  std::string command = Command();
  for (const std::string& arg : args) command += " " + Quote(arg);
  command += " >" + Quote((dir_ / "stdout").string()) + " 2>" + Quote((dir_ / "stderr").string()) + " </dev/null";
  CliResult result;
  const int status = std::system(command.c_str());
  result.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  result.out = ReadText(dir_ / "stdout");
  result.err = ReadText(dir_ / "stderr");
  return result;
}

CliResult CliRunner::RunOk(const std::vector<std::string>& args) const {
  CliResult result = Run(args);
  EXPECT_EQ(result.exitCode, 0) << (args.empty() ? "" : args[0]) << ": " << result.err;
  return result;
}

void CliRunner::RunRefused(const std::vector<std::string>& args, const std::string& text) const {
  const CliResult result = Run(args);
  EXPECT_NE(result.exitCode, 0) << args.at(0);
  EXPECT_NE(result.err.find(text), std::string::npos) << result.err;
}

CliRunner& SharedCli() {
  static CliRunner runner;
  return runner;
}

const std::string& CliRunner::Sample() {
  if (sample_.empty()) {
    const std::string path = Path("sample.txt");
    RunOk({"sample", path, "--laps", "2", "--rate", "20"});
    sample_ = path;
  }
  return sample_;
}

}  // namespace velmar::testing
