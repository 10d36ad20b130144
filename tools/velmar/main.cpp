// velmar: the command-line host of the library.
#include <cstdio>
#include <cstring>

#include "velmar/version.h"

int main(int argc, char** argv) {
  if (argc > 1 && std::strcmp(argv[1], "--version") == 0) {
    std::printf("velmar %s\n", velmar::kVersion);
    return 0;
  }
  std::printf("velmar %s: telemetry data management\nusage: velmar --version\n", velmar::kVersion);
  return 0;
}
