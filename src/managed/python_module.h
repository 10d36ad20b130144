// The CPython backend lives in a module of its own (libvelmar_python.so,
// built from managed/python), loaded the first time plug-ins are looked
// for: a process that never runs one never maps libpython. The module
// reaches the library back through the calls handed to its entry only.
//
// Client thread only.
#pragma once

#include <memory>

#include "managed/plugin_seam.h"
#include "velmar/guid.h"
#include "velmar/result.h"

namespace velmar::managed {

// What the module may call in the library that loaded it.
struct PythonHostCalls {
  KivResult (*createInstance)(const Guid& clsid, const Guid& iid, void** out) = nullptr;
};

inline constexpr char kPythonModule[] = "libvelmar_python.so";
inline constexpr char kPythonEntry[] = "VelmarPythonBackend";
// Takes the host's calls; gives a new backend, the caller's to delete.
using PythonBackendEntry = PluginBackend* (*)(const PythonHostCalls* host);

// The CPython backend from its module. When the module does not load, a
// backend that refuses every plug-in module, having said why on stderr
// once: plug-ins are then simply not there, and nothing else changes.
std::unique_ptr<PluginBackend> LoadPythonBackend();

}  // namespace velmar::managed
