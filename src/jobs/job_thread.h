// The worker threads of the sources. Each source caches its thread's handle
// process-wide; the last root object calls Async_ForgetThreads, after which
// the next use asks the engine again.
#pragma once

#include <cstdint>
#include <mutex>
#include <string_view>

#include "platform/async/job_engine.h"

namespace velmar {

inline constexpr std::u16string_view kDaeThreadName = u"DAE_Thread";
inline constexpr std::u16string_view kAsciiThreadName = u"Ascii_Thread";
inline constexpr std::u16string_view kMatlabThreadName = u"Matlab_Thread";
inline constexpr std::u16string_view kExcelThreadName = u"Velmar_Excel_Thread";

// A cached handle on a named shared thread. Safe to declare as a static
// (constant-initialised) and to use from any thread.
class CachedJobThread {
 public:
  explicit constexpr CachedJobThread(std::u16string_view name) : name_(name) {}
  CachedJobThread(const CachedJobThread&) = delete;
  CachedJobThread& operator=(const CachedJobThread&) = delete;

  // The handle, fetched on first use and after each Async_ForgetThreads.
  // Null only once the process is shutting down.
  AsyncThread Get();
  std::u16string_view name() const { return name_; }

 private:
  const std::u16string_view name_;  // refers to static text
  std::mutex mu_;
  AsyncThread thread_ = nullptr;     // guarded by mu_
  uint64_t generation_ = 0;          // guarded by mu_: Async_ThreadGeneration when fetched
};

// The shared threads of the native store and the file sources.
AsyncThread DaeThread();
AsyncThread AsciiThread();
AsyncThread MatlabThread();
AsyncThread ExcelThread();

// A private thread named by a new GUID text, with busy mask 1: for a job that
// runs until it is stopped (a folder watch). The caller stops it with
// Async_StopThread when done.
AsyncThread NewPrivateJobThread();

}  // namespace velmar
