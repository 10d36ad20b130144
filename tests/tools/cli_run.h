// Runs the built `velmar` binary as a user would, with its own settings
// folder, and gives back what it printed and how it exited.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "support/temp_dir.h"

namespace velmar::testing {

struct CliResult {
  int exitCode = -1;
  std::string out;
  std::string err;
  // stdout split into lines, each split at tabs.
  std::vector<std::vector<std::string>> Rows() const;
};

class CliRunner {
 public:
  CliRunner();
  // `velmar` quoted for a shell, with the runner's settings folder.
  std::string Command() const;
  // Runs `velmar args...`; the settings (registry) live in a folder of the runner.
  CliResult Run(const std::vector<std::string>& args) const;
  // The same, failing the test unless it exits 0 (with what it printed on stderr).
  CliResult RunOk(const std::vector<std::string>& args) const;
  // The same, failing the test unless it exits non-zero with `text` on stderr.
  void RunRefused(const std::vector<std::string>& args, const std::string& text) const;
  // A path inside the runner's own temporary folder.
  std::string Path(const std::string& name) const { return (dir_ / name).string(); }
  // Writes a small sample data set once and gives its path.
  const std::string& Sample();

 private:
  TempDir dir_;
  std::string sample_;
};

// What `command` printed on stdout, run by the shell.
std::string Shell(const std::string& command);
// A whole file as text; empty when it cannot be read.
std::string ReadText(const std::filesystem::path& path);

// One runner for a whole test program, its sample made on first use: making
// and loading the sample is the slow part of these tests.
CliRunner& SharedCli();

}  // namespace velmar::testing
