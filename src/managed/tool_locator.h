// The process's plug-in runtime: one backend and the types it found, and
// the locator that hands the add-in manager their descriptions.
//
// Client thread only.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "managed/plugin_seam.h"
#include "managed/tool_type_library.h"

namespace velmar::managed {

class ManagedRuntime {
 public:
  // The process's runtime: the embedded CPython backend unless a test
  // installed another.
  static ManagedRuntime& Process();
  // Replaces the backend (null: back to CPython) and finds types again.
  static void SetBackend(std::unique_ptr<PluginBackend> backend);

  PluginBackend& backend() { return *backend_; }
  DotNetToolTypeLibrary& library() { return library_; }

 private:
  explicit ManagedRuntime(std::unique_ptr<PluginBackend> backend)
      : backend_(std::move(backend)), library_(*backend_) {}

  std::unique_ptr<PluginBackend> backend_;
  DotNetToolTypeLibrary library_;
};

// The CPython backend, defined in its module (managed/python); the library
// reaches it through LoadPythonBackend (managed/python_module.h).
std::unique_ptr<PluginBackend> MakePythonBackend();

struct CToolId {
  uint32_t kind = 1;
  std::u16string typeName;
  bool operator<(const CToolId& other) const { return typeName < other.typeName; }
};

struct CToolDesc {
  CToolId id;
  std::u16string name;
};

class CDotNetToolLocator {
 public:
  // The descriptions of every plug-in type found, in the order found.
  static std::vector<CToolDesc> FindTools();
  // Finds the types again on the next use.
  static void MarkDirty();
};

}  // namespace velmar::managed
