// The one kind of failure the command-line host reports: a single line that
// names the file (or argument) and what went wrong. Commands throw it; main
// prints it on stderr and exits non-zero.
#pragma once

#include <stdexcept>
#include <string>

#include "velmar/result.h"

namespace velmar::cli {

class HostError : public std::runtime_error {
 public:
  explicit HostError(const std::string& line) : std::runtime_error(line) {}
};

// "<subject>: <what>" as the one line of a HostError.
[[noreturn]] void Fail(const std::string& subject, const std::string& what);
// The same, with the library's result code appended: "<what> (E_FAIL)".
[[noreturn]] void Fail(const std::string& subject, const std::string& what, KivResult result);

}  // namespace velmar::cli
