// The module "_velmar_host" the library makes inside the interpreter: the
// managed view of the root (tasks, their data selections, a selection's
// channels and laps as numpy arrays) and the sinks through which Python
// calls back into native code. Made at run time, so a host that is itself
// Python gets it too.
//
// Requires the GIL.
#pragma once

#include <functional>
#include <memory>
#include <string>

#include <pybind11/pybind11.h>

#include "velmar/data_factory.h"
#include "velmar/unknown.h"

namespace velmar::managed::python {

namespace py = pybind11;

void RegisterHostModule();

// The managed view of `root` (an IKivVelmar), or None.
// A data selection as Python sees it, reading through `inputs`.
py::object MakeSelectionView(IKivUnknown* selection, IKivChannelFactory* inputs);
py::object MakeRootView(IKivUnknown* root);

// The library item whose read last raised DataPending in a plug-in, taken
// once (null when none): the plug-in asks again when it changes.
ComPtr<IKivUnknown> TakePendingInput();

// A callable that forwards its arguments to a native target until the
// target detaches; a call after that raises. Hidden, as pybind11's own
// types are.
class __attribute__((visibility("hidden"))) NativeSink {
 public:
  using Target = std::function<void(const py::args&)>;
  NativeSink(const void* target, Target call) : target_(target), call_(std::move(call)) {}
  void operator()(const py::args& args);
  void Detach() { call_ = nullptr; }

 private:
  const void* target_;
  Target call_;
};

// A sink as a Python object, and the native handle to detach it.
struct __attribute__((visibility("hidden"))) SinkHandle {
  std::shared_ptr<NativeSink> sink;
  py::object callable;
};
SinkHandle MakeSink(const void* target, NativeSink::Target call);

}  // namespace velmar::managed::python
