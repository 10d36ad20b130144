#include "managed/tool_type_library.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>

#include "velmar/registry.h"
#include "velmar/text.h"

namespace velmar::managed {
namespace {

namespace fs = std::filesystem;

bool IsFolder(const std::string& path) {
  std::error_code error;
  return fs::is_directory(path, error);
}

std::optional<std::string> InstallDirTools() {
  RegistryKey key;
  if (Failed(RegistryKey::Open(RegHive::kLocalMachine, u"SOFTWARE\\Halvane\\Kivara", &key))) return std::nullopt;
  std::u16string dir;
  if (Failed(key.QueryString(u"InstallDir", &dir)) || dir.empty()) return std::nullopt;
  std::string tools = (fs::path(WideToUtf8(dir)) / DotNetToolTypeLibrary::kFolderName).string();
  if (!IsFolder(tools)) return std::nullopt;
  return tools;
}

// "*.py" at the top of the folder, in byte order of their names.
std::vector<std::string> ModuleFiles(const std::string& folder) {
  std::vector<std::string> names;
  std::error_code error;
  for (fs::directory_iterator it(folder, error), end; !error && it != end; it.increment(error)) {
    const fs::path& path = it->path();
    if (path.extension() == DotNetToolTypeLibrary::kFilePattern && it->is_regular_file(error)) {
      names.push_back(path.filename().string());
    }
  }
  std::sort(names.begin(), names.end());
  for (std::string& name : names) name = (fs::path(folder) / name).string();
  return names;
}

}  // namespace

std::optional<std::string> DotNetToolTypeLibrary::ToolsFolder() {
  if (const char* env = std::getenv("KIVARA_TOOLS"); env && *env && IsFolder(env)) return std::string(env);
  return InstallDirTools();
}

const std::map<std::u16string, std::string>& DotNetToolTypeLibrary::Tools() {
  FindToolsIfDirty();
  return tools_;
}

const std::vector<ToolTypeDescription>& DotNetToolTypeLibrary::ToolTypeDescriptions() {
  FindToolsIfDirty();
  return descriptions_;
}

void DotNetToolTypeLibrary::FindToolsIfDirty() {
  if (!dirty_) return;
  tools_.clear();
  descriptions_.clear();
  dirty_ = false;
  const std::optional<std::string> folder = ToolsFolder();
  if (!folder) return;
  for (const std::string& path : ModuleFiles(*folder)) TakeModule(path);
}

// A module that fails to load, or has no marker, is skipped without a word;
// a class is a tool only with exactly one tool attribute.
void DotNetToolTypeLibrary::TakeModule(const std::string& path) {
  PluginModuleInfo info;
  try {
    info = backend_.LoadModule(path);
  } catch (const PluginError&) {
    return;
  }
  if (!info.containsTools) return;
  for (const PluginTypeInfo& type : info.types) {
    if (type.toolAttributes != 1 || tools_.count(type.typeName)) continue;
    tools_.emplace(type.typeName, path);
    descriptions_.push_back({type.displayName, type.typeName});
  }
}

}  // namespace velmar::managed
