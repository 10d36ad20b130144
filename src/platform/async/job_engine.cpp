#include "platform/async/job_engine.h"

#include <atomic>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "platform/async/dispatcher.h"
#include "platform/async/worker_thread.h"

namespace velmar {
namespace {

using std::chrono::steady_clock;

// Every thread ever made, and the current one of each name. Never freed:
// handles must stay valid for objects released during static destruction.
struct Registry {
  std::mutex mu;
  std::map<std::u16string, AsyncThreadImpl*> by_name;    // guarded by mu
  std::vector<std::unique_ptr<AsyncThreadImpl>> all;     // guarded by mu; never shrinks
  std::shared_ptr<const AsyncFaultHook> fault_hook;      // guarded by mu
};

std::atomic<bool> g_shut_down{false};
std::atomic<uint64_t> g_generation{0};

Registry& TheRegistry() {
  static Registry* r = new Registry;
  return *r;
}

std::vector<AsyncThreadImpl*> AllThreads() {
  Registry& r = TheRegistry();
  std::lock_guard lock(r.mu);
  std::vector<AsyncThreadImpl*> out;
  for (const auto& t : r.all) out.push_back(t.get());
  return out;
}

KivResult RunFaultHook(AsyncThreadImpl* t, IAsyncJob* job) {
  std::shared_ptr<const AsyncFaultHook> hook;
  {
    Registry& r = TheRegistry();
    std::lock_guard lock(r.mu);
    hook = r.fault_hook;
  }
  return hook && *hook ? (*hook)(t, job) : S_OK;
}

// Stops every worker at process exit, before the statics that jobs might use
// in their last moments are gone, so no thread outlives the process's data.
struct StopAtExit {
  ~StopAtExit() {
    g_shut_down = true;
    for (AsyncThreadImpl* t : AllThreads()) t->Stop();
  }
} g_stop_at_exit;

bool CountsForIdle(AsyncThreadImpl* t) { return (t->busy_mask() & 1) == 0; }

}  // namespace

AsyncThread Async_GetThread(std::u16string_view name) {
  if (g_shut_down) return nullptr;
  Registry& r = TheRegistry();
  std::lock_guard lock(r.mu);
  auto it = r.by_name.find(std::u16string(name));
  if (it != r.by_name.end() && !it->second->stopped()) return it->second;
  r.all.push_back(std::make_unique<AsyncThreadImpl>(std::u16string(name), RunFaultHook));
  AsyncThreadImpl* t = r.all.back().get();
  r.by_name[std::u16string(name)] = t;
  return t;
}

KivResult Async_QueueNewJob(AsyncThread t, IAsyncJob* job) {
  if (!t) return E_INVALIDARG;
  return t->Queue(job, AsyncThreadImpl::CurrentHome());
}

KivResult Async_CancelJob(AsyncThread t, IAsyncJob* job) {
  if (!t) return E_INVALIDARG;
  return t->Cancel(job);
}

KivResult Async_QueueCompletedJob(AsyncThread t, IAsyncJob* job) {
  if (!t) return E_INVALIDARG;
  if (!job) return E_POINTER;
  ComPtr<IAsyncJob> ref(job);
  bool posted = AsyncThreadImpl::CurrentHome().Post([ref]() mutable {
    ComPtr<IAsyncJob> mine = std::move(ref);
    mine->Completed();
  });
  return posted ? S_OK : E_UNEXPECTED;
}

KivResult Async_SetThreadBusyMask(AsyncThread t, uint32_t mask) {
  if (!t) return E_INVALIDARG;
  t->set_busy_mask(mask);
  return S_OK;
}

KivResult Async_StopThread(AsyncThread t) {
  if (!t) return E_INVALIDARG;
  t->Stop();
  Registry& r = TheRegistry();
  std::lock_guard lock(r.mu);
  auto it = r.by_name.find(t->name());
  if (it != r.by_name.end() && it->second == t) r.by_name.erase(it);
  return S_OK;
}

void Async_ForgetThreads() { ++g_generation; }

uint64_t Async_ThreadGeneration() { return g_generation.load(); }

bool Async_WaitIdle(AsyncThread t, std::chrono::milliseconds timeout) {
  if (!t) return false;
  return t->WaitIdle(steady_clock::now() + timeout);
}

bool Async_WaitAllIdle(std::chrono::milliseconds timeout) {
  const steady_clock::time_point deadline = steady_clock::now() + timeout;
  for (AsyncThreadImpl* t : AllThreads()) {
    if (CountsForIdle(t) && !t->WaitIdle(deadline)) return false;
  }
  return true;
}

bool Async_RunUntilSettled(Dispatcher& d, std::chrono::milliseconds timeout) {
  const steady_clock::time_point deadline = steady_clock::now() + timeout;
  for (;;) {
    auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - steady_clock::now());
    if (left.count() < 0 || !Async_WaitAllIdle(left)) return false;
    if (d.RunUntilIdle() == 0) return true;
  }
}

void Async_SetFaultHook(AsyncFaultHook hook) {
  auto shared = hook ? std::make_shared<const AsyncFaultHook>(std::move(hook)) : nullptr;
  Registry& r = TheRegistry();
  std::lock_guard lock(r.mu);
  r.fault_hook = std::move(shared);
}

KivResult Async_DropNextJobs(AsyncThread t, uint32_t count) {
  if (!t) return E_INVALIDARG;
  t->DropNext(count);
  return S_OK;
}

}  // namespace velmar
