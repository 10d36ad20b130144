#include "host_error.h"

#include <cstdio>
#include <cstring>

namespace velmar::cli {

void Fail(const std::string& subject, const std::string& what) { throw HostError(subject + ": " + what); }

void Fail(const std::string& subject, const std::string& what, KivResult result) {
  // Codes without a name of their own read as "error"; the number says more.
  const char* name = ResultName(result);
  char code[16];
  std::snprintf(code, sizeof code, "0x%08X", static_cast<unsigned>(result));
  const bool named = name && std::strcmp(name, "error") != 0 && std::strcmp(name, "success") != 0;
  Fail(subject, what + " (" + (named ? std::string(name) : std::string(code)) + ")");
}

}  // namespace velmar::cli
