// The job engine: named worker threads, each with a first-in first-out queue
// of jobs. A job's WTRun runs on its worker; its Completed comes back on the
// thread that queued it, through that thread's Dispatcher, and never before
// that thread drives its loop.
//
// Who owns what: queueing takes one reference on the job; the engine gives it
// up after Completed (client thread) or after WTCleanupAfterCancel (worker).
// Thread handles stay valid for the life of the process.
//
// Threads: every function may be called from any thread. A job queued from a
// worker (inside WTRun) is completed on the thread that queued the running
// job, so work handed on from a worker still ends on its client thread.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <string_view>

#include "velmar/result.h"

namespace velmar {

class Dispatcher;

// What the engine sees of a job, in the job item's slot order.
struct IAsyncJob {
  virtual ~IAsyncJob() = default;                 // 0
  virtual int CancelJob() = 0;                    // 1: non-zero = may be cancelled
  virtual void ResetStatus() = 0;                 // 2: worker, before each run
  virtual void Completed() = 0;                   // 3: client thread
  virtual bool SupportsAggregation() = 0;         // 4
  virtual void Aggregate(IAsyncJob* other) = 0;   // 5
  virtual void WTCleanupAfterCancel() = 0;        // 6: worker thread
  virtual void WTRun() = 0;                       // 7: worker thread
  virtual uint32_t AddRef() = 0;                  // atomic
  virtual uint32_t Release() = 0;                 // atomic; may run on a worker
  // The engine's own verdict on a job it did not run to the end: E_JOB_DROPPED
  // for a dropped job, E_FAIL when WTRun threw.
  virtual void SetStatus(KivResult status) = 0;
};

using AsyncThread = struct AsyncThreadImpl*;  // opaque handle

// The thread of that name, made if needed. The same name gives the same
// handle until that thread is stopped. Null after process shutdown began.
AsyncThread Async_GetThread(std::u16string_view name);

// Appends `job` to the thread's queue and takes a reference.
// E_INVALIDARG for a null thread, E_POINTER for a null job, E_UNEXPECTED when
// the thread has been stopped (no reference is taken then).
[[nodiscard]] KivResult Async_QueueNewJob(AsyncThread t, IAsyncJob* job);

// Asks the job's CancelJob. When it agrees: a waiting job is taken out and
// never runs, a running one may finish; either way it never gets Completed,
// and the engine calls WTCleanupAfterCancel on the worker (after WTRun if it
// ran) and releases it. A job that has finished but whose Completed has not
// run yet is cancelled the same way. S_OK when cancelled; S_FALSE when the job
// refused or the thread does not hold it.
KivResult Async_CancelJob(AsyncThread t, IAsyncJob* job);

// Delivers `job` as finished, without running it: Completed alone, posted to
// the calling thread's client (see above), never inside this call. Takes a
// reference. Not tracked for cancelling.
[[nodiscard]] KivResult Async_QueueCompletedJob(AsyncThread t, IAsyncJob* job);

// Bit 0 marks a thread whose job runs until it is stopped (a folder watch):
// Async_WaitAllIdle and Async_RunUntilSettled don't wait for it.
KivResult Async_SetThreadBusyMask(AsyncThread t, uint32_t mask);

// Ends the thread: the running job finishes, waiting jobs are delivered
// through Completed with status E_JOB_DROPPED, and the call returns when the
// worker has ended (at once when called on the worker itself). The name is
// free again; the handle stays valid and refuses new jobs.
KivResult Async_StopThread(AsyncThread t);

// The cached handles of the sources (see jobs/job_thread.h) ask again after
// this. Called when the last root object goes. Threads are not stopped and
// every handle stays valid for whoever still uses it.
void Async_ForgetThreads();
// Counts Async_ForgetThreads calls; a cache compares it with its own.
uint64_t Async_ThreadGeneration();

// --- For hosts and tests -------------------------------------------------

inline constexpr std::chrono::milliseconds kAsyncWaitForever = std::chrono::hours(24 * 365);

// Blocks until the thread's queue is empty and no job runs or waits for
// cleanup. Every Completed of the work done so far has then been posted, so a
// RunUntilIdle on the client thread delivers it. False on time-out, on a null
// handle, or when called on the thread's own worker.
bool Async_WaitIdle(AsyncThread t, std::chrono::milliseconds timeout = kAsyncWaitForever);
// The same over every thread whose busy mask bit 0 is clear.
bool Async_WaitAllIdle(std::chrono::milliseconds timeout = kAsyncWaitForever);
// Alternates Async_WaitAllIdle and d.RunUntilIdle() until neither finds work:
// every job queued so far, and every job its completion queued, has come back.
bool Async_RunUntilSettled(Dispatcher& d, std::chrono::milliseconds timeout = std::chrono::seconds(60));

// Fault injection. The hook is asked on the worker before each job runs; a
// negative answer skips WTRun and delivers the job with that status
// (E_JOB_DROPPED imitates a dropped job). An empty hook removes it.
using AsyncFaultHook = std::function<KivResult(AsyncThread t, IAsyncJob* job)>;
void Async_SetFaultHook(AsyncFaultHook hook);
// Drops the next `count` jobs that reach the thread's worker with E_JOB_DROPPED.
KivResult Async_DropNextJobs(AsyncThread t, uint32_t count);

}  // namespace velmar
