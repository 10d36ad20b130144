#include "outing_watch.h"

#include <cstdio>

#include "velmar/text.h"

namespace velmar::cli {

OutingWatch::OutingWatch(IKivOuting* outing, std::string file)
    : outing_(outing),
      file_(std::move(file)),
      outingSink_(MakeKiv<COutingNotifications2Sink<>>()),
      factorySink_(MakeKiv<CDataFactoryNotificationsSink<CBaseMultiSourceSink>>()),
      writerSink_(MakeKiv<CWriterNotificationsSink<>>()) {
  outingSink_->SetReceiver(this);
  factorySink_->SetReceiver(this);
  writerSink_->SetReceiver(this);
  // A source that offers fewer points is still readable: the host then only
  // hears less, and waits for the worker threads instead.
  (void)outingSink_->Connect(outing);
  (void)factorySink_->Connect(outing);
  (void)writerSink_->Connect(outing);
}

OutingWatch::~OutingWatch() {
  outingSink_->SetReceiver(nullptr);
  factorySink_->SetReceiver(nullptr);
  writerSink_->SetReceiver(nullptr);
  outingSink_->Disconnect(outing_.Get());
  factorySink_->DisconnectAll();
  writerSink_->Disconnect(outing_.Get());
}

void OutingWatch::OnWriterMessage(uint32_t level, const std::u16string& text) {
  std::fprintf(stderr, "%s: warning (level %u): %s\n", file_.c_str(), level, WideToUtf8(text).c_str());
}

}  // namespace velmar::cli
