#include "addin_modules.h"

#include <cstdlib>
#include <string>
#include <vector>

#include "velmar/class_registry.h"

namespace velmar::cli {

KivResult LoadMathAddIn() {
  const char* named = std::getenv("VELMAR_MATH_ADDIN");
  const std::vector<std::string> candidates =
      named ? std::vector<std::string>{named}
            : std::vector<std::string>{VELMAR_MATH_ADDIN_BUILT, VELMAR_MATH_ADDIN_INSTALLED};
  KivResult last = E_MOD_NOT_FOUND;
  for (const std::string& path : candidates) {
    last = ClassRegistry::Process().LoadAddIn(path);
    if (Succeeded(last)) return last;
  }
  return last;
}

}  // namespace velmar::cli
