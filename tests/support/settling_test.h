// A test that is its own client thread: a dispatcher current for the test's
// life, and Settle() to run every job queued so far until its completion has
// come back on this thread.
#pragma once

#include <gtest/gtest.h>

#include <chrono>

#include "platform/async/dispatcher.h"
#include "platform/async/job_engine.h"

namespace velmar::testing {

class SettlingTest : public ::testing::Test {
 protected:
  // Long enough that only a broken test reaches it.
  static constexpr std::chrono::seconds kLong{30};

  bool Settle() { return Async_RunUntilSettled(d_, kLong); }

  Dispatcher d_;
  Dispatcher::ScopedCurrent current_{d_};
};

}  // namespace velmar::testing
