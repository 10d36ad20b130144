// A receiver's connection to one source for as long as it lives: a sink of
// the family is made, pointed at the receiver and connected; the receiver is
// cleared and the sink disconnected on the way out.
#pragma once

#include <gtest/gtest.h>

#include "velmar/notifications.h"

namespace velmar::testing {

template <class Sink, class Source>
class ScopedSink {
 public:
  template <class Receiver>
  ScopedSink(Receiver* receiver, Source* source) : source_(source) {
    sink_->SetReceiver(receiver);
    EXPECT_TRUE(sink_->Connect(source));
  }
  ~ScopedSink() {
    sink_->SetReceiver(nullptr);
    sink_->Disconnect(source_);
  }
  ScopedSink(const ScopedSink&) = delete;
  ScopedSink& operator=(const ScopedSink&) = delete;

 private:
  Source* source_;
  ComPtr<Sink> sink_ = MakeKiv<Sink>();
};

}  // namespace velmar::testing
