// Math channel definitions as a user writes them: any bytes as the JSON
// list, every definition it keeps compiled into a program.
#include <cstddef>
#include <cstdint>
#include <string>

#include "math_program.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  std::vector<velmar::math::MathDefinition> definitions;
  std::vector<std::u16string> messages;
  if (!velmar::math::ParseDefinitions(std::string(reinterpret_cast<const char*>(data), size), &definitions,
                                      &messages)) {
    return 0;
  }
  for (const auto& definition : definitions) {
    velmar::math::MathProgram program;
    std::u16string message;
    (void)velmar::math::Compile(definition, &program, &message);
  }
  return 0;
}
