#include "managed/python/python_interpreter.h"

#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <filesystem>
#include <mutex>
#include <thread>

#include <pybind11/embed.h>

#include "managed/python/host_module.h"

namespace velmar::managed::python {
namespace {

bool g_ready = false;

bool IsFolder(const std::string& path) {
  std::error_code error;
  return std::filesystem::is_directory(std::filesystem::path(path) / "kivara", error);
}

void PrepareModules() {
  py::gil_scoped_acquire gil;
  py::module_ sys = py::module_::import("sys");
  py::list path = sys.attr("path");
  const py::str folder(PackageFolder());
  if (!path.contains(folder)) path.insert(0, folder);
  RegisterHostModule();
}

}  // namespace

std::string PackageFolder() {
  if (const char* env = std::getenv("VELMAR_PYTHON_PATH"); env && *env) return env;
  if (IsFolder(VELMAR_PYTHON_INSTALL_PATH)) return VELMAR_PYTHON_INSTALL_PATH;
  return VELMAR_PYTHON_SOURCE_PATH;
}

void EnsureInterpreter() {
  if (g_ready) return;
  if (!Py_IsInitialized()) {
    try {
      // The host keeps its own signal handlers.
      py::initialize_interpreter(false, 0, nullptr, false);
    } catch (const std::exception& error) {
      throw PluginError(error.what());
    }
    // Let go of the GIL: each call takes it again.
    (void)PyEval_SaveThread();
  }
  try {
    PrepareModules();
  } catch (const std::exception& error) {
    throw PluginError(error.what());
  }
  g_ready = true;
}

py::module_& HostModule() {
  static py::module_* host = new py::module_(py::module_::import("kivara.tools._host"));
  return *host;
}

void ThrowPluginError(const py::error_already_set& error) {
  bool pending = false;
  try {
    pending = error.matches(py::module_::import("kivara.tools").attr("DataPending"));
  } catch (const py::error_already_set&) {
  }
  ComPtr<IKivUnknown> input = TakePendingInput();
  if (pending) throw PluginPending(error.what(), std::move(input));
  throw PluginError(error.what());
}

double ImportTimeLimit() {
  if (const char* env = std::getenv("KIVARA_TOOLS_IMPORT_TIMEOUT"); env && *env) {
    char* end = nullptr;
    const double seconds = std::strtod(env, &end);
    if (end != env && seconds > 0) return seconds;
  }
  return 10.0;
}

py::object CallWithTimeLimit(const py::object& f, const py::object& argument, double seconds) {
  const unsigned long caller = PyThread_get_thread_ident();
  std::mutex mutex;
  std::condition_variable wake;
  bool done = false;    // guarded by mutex
  bool settled = false;  // read and written under the GIL
  std::thread watchdog([&] {
    std::unique_lock lock(mutex);
    if (wake.wait_for(lock, std::chrono::duration<double>(seconds), [&] { return done; })) return;
    lock.unlock();
    py::gil_scoped_acquire gil;
    if (!settled) {
      py::object error = py::module_::import("builtins").attr("TimeoutError");
      PyThreadState_SetAsyncExc(caller, error.ptr());
    }
  });
  auto finish = [&] {
    settled = true;
    PyThreadState_SetAsyncExc(caller, nullptr);  // one raised too late goes unseen
    {
      std::lock_guard lock(mutex);
      done = true;
    }
    wake.notify_one();
    py::gil_scoped_release release;  // the watchdog may be waiting for the GIL
    watchdog.join();
  };
  try {
    py::object result = f(argument);
    finish();
    return result;
  } catch (...) {
    finish();
    throw;
  }
}

}  // namespace velmar::managed::python
