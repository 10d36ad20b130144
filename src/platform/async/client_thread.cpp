// The public handle on a thread's dispatcher. It keeps the dispatcher's
// target for Post, which outlives the dispatcher safely, and the
// dispatcher itself for the calls that only its own thread makes.
#include "velmar/client_thread.h"

#include <algorithm>

#include "platform/async/dispatcher.h"
#include "platform/async/job_engine.h"

namespace velmar {

struct KivClientThread::State {
  Dispatcher* dispatcher;
  Dispatcher::Target target;
};

KivClientThread KivClientThread::Current() {
  Dispatcher& dispatcher = Dispatcher::ForThisThread();
  return KivClientThread(std::make_shared<State>(State{&dispatcher, dispatcher.GetTarget()}));
}

bool KivClientThread::Post(Task task) const { return state_->target.Post(std::move(task)); }

size_t KivClientThread::RunOnce() const { return state_->dispatcher->RunOnce(); }

size_t KivClientThread::RunUntilIdle() const { return state_->dispatcher->RunUntilIdle(); }

void KivClientThread::RunFor(std::chrono::milliseconds duration) const { state_->dispatcher->RunFor(duration); }

bool KivClientThread::RunUntil(const std::function<bool()>& done, std::chrono::milliseconds timeout) const {
  return state_->dispatcher->RunUntil(done, timeout);
}

bool KivClientThread::RunUntilSettled(std::chrono::milliseconds timeout) const {
  return Async_RunUntilSettled(*state_->dispatcher, timeout);
}

KivClientThread::TimerId KivClientThread::SetTimer(std::chrono::milliseconds period, Task task) const {
  return state_->dispatcher->SetTimer(period, std::move(task));
}

bool KivClientThread::KillTimer(TimerId id) const { return state_->dispatcher->KillTimer(id); }

int KivClientThread::Fd() const { return state_->dispatcher->Fd(); }

std::optional<std::chrono::milliseconds> KivClientThread::TimeToNextTimer() const {
  const std::optional<Clock::time_point> due = state_->dispatcher->NextTimerDue();
  if (!due) return std::nullopt;
  const auto left = std::chrono::ceil<std::chrono::milliseconds>(*due - state_->dispatcher->clock()->Now());
  return std::max(left, std::chrono::milliseconds::zero());
}

}  // namespace velmar
