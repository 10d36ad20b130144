// velmar sample OUT.txt [--laps N] [--rate HZ] [--seed S]: writes a made-up
// text data set of a car lapping a closed circuit, and OUT.map.json, the
// circuit's map with its named segments.
#include <cstdio>
#include <filesystem>
#include <optional>
#include <iostream>
#include <memory>

#include "commands.h"
#include "host_error.h"
#include "host_session.h"
#include "velmar/sample.h"
#include "velmar/outing_factory.h"
#include "velmar/text.h"

namespace velmar::cli {
namespace {

// "HH:MM:SS" as seconds of the day.
std::optional<double> ClockSeconds(const std::string& text) {
  int h = 0, m = 0, s = 0;
  char tail = 0;
  if (std::sscanf(text.c_str(), "%d:%d:%d%c", &h, &m, &s, &tail) != 3) return std::nullopt;
  if (h < 0 || h > 23 || m < 0 || m > 59 || s < 0 || s > 59) return std::nullopt;
  return h * 3600.0 + m * 60.0 + s;
}

struct SampleCommandOptions {
  std::string file;
  std::string clock = "10:00:00";
  int laps = 5;
  double rate = 100.0;
  uint64_t seed = 1;
};

void Run(const SampleCommandOptions& options) {
  if (HostSession::TypeIdForFile(options.file) != kTextOutingTypeId.ToWide()) {
    Fail(options.file, "a sample is a text data set: the name must end in .txt");
  }
  size_t bytes = 0;
  const double clock = ClockSeconds(options.clock).value_or(36000.0);
  const KivResult r =
      KivWriteSampleOuting(Utf8ToWide(options.file), {options.laps, options.rate, options.seed, clock}, &bytes);
  if (Failed(r)) Fail(options.file, "cannot write the sample", r);
  // The circuit's map beside it: OUT.txt gives OUT.map.json.
  const std::filesystem::path map = std::filesystem::path(options.file).replace_extension(".map.json");
  if (KivResult m = KivWriteSampleCircuitMap(Utf8ToWide(map.string())); Failed(m))
    Fail(map.string(), "cannot write the circuit map", m);
  std::cout << options.file << ": " << options.laps << " laps at " << options.rate << " Hz, " << bytes
            << " bytes\n";
}

}  // namespace

void AddSampleCommand(CLI::App& app, const CommandContext&) {
  auto options = std::make_shared<SampleCommandOptions>();
  CLI::App* command = app.add_subcommand("sample", "Write a sample text data set of a car lapping a circuit");
  command->add_option("OUT", options->file, "Text data set to write (.txt)")->required();
  command->add_option("--laps", options->laps, "Flying laps")->check(CLI::Range(1, 1000));
  command->add_option("--rate", options->rate, "Samples per second of the fast channels")
      ->check(CLI::Range(0.1, 100000.0));
  command->add_option("--seed", options->seed, "Seed of pace, noise and names");
  command->add_option("--clock", options->clock, "The logger's clock at the first sample, HH:MM:SS")
      ->check([](const std::string& text) { return ClockSeconds(text) ? std::string() : "expected HH:MM:SS"; });
  command->callback([options] { Run(*options); });
}

}  // namespace velmar::cli
