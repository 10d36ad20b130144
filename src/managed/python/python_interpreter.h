// The embedded CPython interpreter: started once, on first need, on the
// client thread, and never finalised; a host that is itself Python (the
// interpreter already initialised) is joined instead. Between calls the GIL
// is free, so a Python host's own threads go on; the library's job threads
// never enter the interpreter.
//
// Every call into Python takes the GIL (pybind11::gil_scoped_acquire).
#pragma once

#include <string>

#include "managed/plugin_seam.h"

#include <pybind11/pybind11.h>

namespace velmar::managed::python {

namespace py = pybind11;

// Starts or joins the interpreter, puts the kivara package on the path and
// makes the host's helper module. Throws PluginError when Python can't start.
void EnsureInterpreter();

// kivara.tools._host; requires the GIL.
py::module_& HostModule();

// The folder holding the kivara package: $VELMAR_PYTHON_PATH, else the
// installed one, else the source tree's.
std::string PackageFolder();

// PluginPending for kivara.tools.DataPending, else PluginError. GIL held.
[[noreturn]] void ThrowPluginError(const py::error_already_set& error);

// Runs `f` under the GIL, turning anything Python raises into PluginError.
template <class F>
auto WithPython(F&& f) -> decltype(f()) {
  EnsureInterpreter();
  py::gil_scoped_acquire gil;
  try {
    return f();
  } catch (const py::error_already_set& error) {
    ThrowPluginError(error);
  } catch (const py::builtin_exception& error) {  // cast errors too
    throw PluginError(error.what());
  }
}

// Calls `f` (Python runs inside it, GIL held) with a time limit: past it, a
// TimeoutError is raised in the calling thread at its next Python step. A
// call stuck inside one blocking C function is only stopped when that
// function returns.
py::object CallWithTimeLimit(const py::object& f, const py::object& argument, double seconds);

// The time limit on importing one plug-in module: $KIVARA_TOOLS_IMPORT_TIMEOUT
// seconds, else 10.
double ImportTimeLimit();

}  // namespace velmar::managed::python
