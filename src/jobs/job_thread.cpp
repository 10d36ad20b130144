#include "jobs/job_thread.h"

#include "velmar/guid.h"
#include "velmar/text.h"

namespace velmar {

AsyncThread CachedJobThread::Get() {
  std::lock_guard lock(mu_);
  uint64_t generation = Async_ThreadGeneration();
  if (!thread_ || generation_ != generation) {
    thread_ = Async_GetThread(name_);
    generation_ = generation;
  }
  return thread_;
}

namespace {

constinit CachedJobThread g_dae(kDaeThreadName);
constinit CachedJobThread g_ascii(kAsciiThreadName);
constinit CachedJobThread g_matlab(kMatlabThreadName);
constinit CachedJobThread g_excel(kExcelThreadName);

}  // namespace

AsyncThread DaeThread() { return g_dae.Get(); }
AsyncThread AsciiThread() { return g_ascii.Get(); }
AsyncThread MatlabThread() { return g_matlab.Get(); }
AsyncThread ExcelThread() { return g_excel.Get(); }

AsyncThread NewPrivateJobThread() {
  AsyncThread t = Async_GetThread(Utf8ToWide(Guid::New().ToString()));
  if (t) (void)Async_SetThreadBusyMask(t, 1);
  return t;
}

}  // namespace velmar
