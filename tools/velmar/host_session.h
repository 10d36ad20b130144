// The command-line host's session with the library: the root object, an
// outing factory, and the client-thread loop that brings the worker
// threads' results back. One per process run; client thread only.
//
// Lifetime: make it first, drop every outing before it goes. Its end closes
// the root and lets the remaining work of the worker threads come back, so
// every cache ends before the process does.
#pragma once

#include <chrono>
#include <memory>
#include <string>

#include "progress.h"
#include "settings_file.h"
#include "velmar/outing.h"
#include "velmar/outing_factory.h"
#include "velmar/tasks.h"
#include "velmar/velmar.h"

namespace velmar::cli {

class HostSession {
 public:
  // Registers the library's classes and sources (once per process), creates
  // the root and the outing factory, and gives the root its settings file
  // when one is named. Throws HostError.
  HostSession(std::chrono::milliseconds timeout, bool showProgress, const std::string& settingsFile = {});
  ~HostSession();
  HostSession(const HostSession&) = delete;
  HostSession& operator=(const HostSession&) = delete;

  // Opens `file` by its extension (.txt text, .trn native store). Throws
  // HostError naming the file for an unknown extension, a file that is not
  // there, or an outing the factory could not make.
  ComPtr<IKivOuting> Open(const std::string& file);

  // Runs the client loop until every job queued so far, and each job its
  // completion queued, has come back; the progress line names `what`.
  // False when the session's time limit passed first.
  bool Settle(const std::string& what);

  // A new data selection of the session's task, on `outing`: the host reads
  // through it, as a host's screens do. Throws HostError.
  ComPtr<IKivDataSelection4> Select(IKivOuting* outing, const std::string& file);

  IKivVelmar* root() const { return root_.Get(); }
  // The root's settings file; null when none was named.
  SettingsFile* settings() const { return settings_.get(); }
  IKivNewOutingFactory5* factory() const { return factory_.Get(); }
  std::chrono::milliseconds timeout() const { return timeout_; }

  // The type id (braced text) of a file's extension; empty for an unknown one.
  static std::u16string TypeIdForFile(const std::string& file);

 private:
  std::chrono::milliseconds timeout_;
  Progress progress_;
  ComPtr<IKivVelmar> root_;
  ComPtr<IKivNewOutingFactory5> factory_;
  ComPtr<IKivTask> task_;  // made on the first selection
  std::unique_ptr<SettingsFile> settings_;
};

}  // namespace velmar::cli
