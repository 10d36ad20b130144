// Runtime modules found, loaded once and refused with a message that names
// the file, the folders searched or the loader's reason.
#include "velmar/runtime_module.h"

#include <gtest/gtest.h>

#include <fstream>

#include "support/fixtures.h"
#include "support/scoped_env.h"
#include "support/temp_dir.h"

namespace velmar {
namespace {

std::string Put(std::string text, const std::string& key, const std::string& value) {
  for (size_t at; (at = text.find(key)) != std::string::npos;) text.replace(at, key.size(), value);
  return text;
}

TEST(RuntimeModule, LoadsAndRefusalsAsTabled) {
  testing::TempDir empty;
  std::ofstream(empty.path() / "libvelmar_text.so") << "not a module";
  const std::filesystem::path addin(VELMAR_TEST_ADDIN);
  for (const auto& c : testing::Fixture("platform/runtime_module_loads.json")) {
    const std::string folder = c["folder"] == "built" ? addin.parent_path().string() : empty.path().string();
    testing::ScopedEnv only("VELMAR_MODULE_DIR", folder);
    auto fill = [&](const std::string& text) {
      return Put(Put(text, "{addin}", addin.filename().string()), "{folder}", folder);
    };
    void* entry = reinterpret_cast<void*>(1);
    std::string error;
    const KivResult r = LoadRuntimeModuleEntry(fill(c["file"]), c["entry"].get<std::string>().c_str(), &entry, &error);
    EXPECT_STREQ(ResultName(r), c["code"].get<std::string>().c_str()) << c["case"];
    EXPECT_EQ(entry != nullptr, Succeeded(r)) << c["case"];
    if (Failed(r)) {
      EXPECT_EQ(error, fill(c["error"])) << c["case"];
    }
  }
}

TEST(RuntimeModule, TheVariableIsTheOnlyFolderElseTheLibrarysOwnComesFirst) {
  {
    testing::ScopedEnv only("VELMAR_MODULE_DIR", "/opt/modules");
    EXPECT_EQ(RuntimeModuleFolders(), std::vector<std::filesystem::path>{"/opt/modules"});
  }
  testing::ScopedEnv unset("VELMAR_MODULE_DIR", std::nullopt);
  const std::vector<std::filesystem::path> folders = RuntimeModuleFolders();
  ASSERT_GE(folders.size(), 3u);
  EXPECT_EQ(folders.front(), std::filesystem::read_symlink("/proc/self/exe").parent_path());
}

}  // namespace
}  // namespace velmar
