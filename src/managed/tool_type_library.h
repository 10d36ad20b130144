// The plug-in types of the process: which modules of the "Tools" folder
// offer which tool and data factory types, found once on first use.
//
// The folder is $KIVARA_TOOLS (the module frame sets it to "Tools" beside
// the library), else "InstallDir" of the machine key
// "SOFTWARE\Halvane\Kivara" + "/Tools". Modules are the "*.py" files at the
// top of the folder, loaded in byte order of their names, so the first of
// two modules offering the same type name is the one that holds it.
//
// Client thread only.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "managed/plugin_seam.h"

namespace velmar::managed {

struct ToolTypeDescription {
  std::u16string m_name;      // display name
  std::u16string m_typeName;
};

class DotNetToolTypeLibrary {
 public:
  static constexpr const char* kFilePattern = ".py";
  static constexpr const char* kFolderName = "Tools";

  explicit DotNetToolTypeLibrary(PluginBackend& backend) : backend_(backend) {}

  // The folder plug-ins come from, if there is one.
  static std::optional<std::string> ToolsFolder();

  // Type name to the module file that offers it.
  const std::map<std::u16string, std::string>& Tools();
  const std::vector<ToolTypeDescription>& ToolTypeDescriptions();
  bool Has(const std::u16string& typeName) { return Tools().count(typeName) != 0; }
  // Finds again on the next use (a new folder, in tests and tools).
  void MarkDirty() { dirty_ = true; }
  PluginBackend& backend() { return backend_; }

 private:
  void FindToolsIfDirty();
  void TakeModule(const std::string& path);

  PluginBackend& backend_;
  std::map<std::u16string, std::string> tools_;
  std::vector<ToolTypeDescription> descriptions_;
  bool dirty_ = true;
};

}  // namespace velmar::managed
