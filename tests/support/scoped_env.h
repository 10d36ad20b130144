// Process state a test changes for its own life and puts back after: an
// environment variable, the working directory.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <optional>
#include <string>

namespace velmar::testing {

// Sets (or, given no value, clears) an environment variable.
class ScopedEnv {
 public:
  ScopedEnv(const char* name, std::optional<std::string> value) : name_(name) {
    if (const char* old = std::getenv(name)) old_ = old;
    Put(value);
  }
  ~ScopedEnv() { Put(old_); }
  ScopedEnv(const ScopedEnv&) = delete;
  ScopedEnv& operator=(const ScopedEnv&) = delete;

 private:
  void Put(const std::optional<std::string>& value) {
    if (value) {
      ::setenv(name_, value->c_str(), 1);
    } else {
      ::unsetenv(name_);
    }
  }
  const char* name_;
  std::optional<std::string> old_;
};

// Runs from another working directory.
class ScopedCwd {
 public:
  explicit ScopedCwd(const std::filesystem::path& dir) : old_(std::filesystem::current_path()) {
    std::filesystem::current_path(dir);
  }
  ~ScopedCwd() { std::filesystem::current_path(old_); }
  ScopedCwd(const ScopedCwd&) = delete;
  ScopedCwd& operator=(const ScopedCwd&) = delete;

 private:
  std::filesystem::path old_;
};

}  // namespace velmar::testing
