// The host's sinks on one outing: it hears the outing's own notifications,
// its factories' name lists, and the writer's messages, which it passes on
// to stderr as warnings naming the file. Connected while it lives.
#pragma once

#include <string>

#include "velmar/outing.h"
#include "velmar/outing_notifications.h"

namespace velmar::cli {

class OutingWatch : private COutingNotifications2Receiver,
                    private CDataFactoryNotificationsReceiver,
                    private CWriterNotificationsReceiver {
 public:
  OutingWatch(IKivOuting* outing, std::string file);
  ~OutingWatch() override;
  OutingWatch(const OutingWatch&) = delete;
  OutingWatch& operator=(const OutingWatch&) = delete;

  // Notifications heard since the last Reset.
  int heard() const { return heard_; }
  void Reset() { heard_ = 0; }

 private:
  void OnInformationChanged(IKivOuting*) override { ++heard_; }
  void OnCreated(IKivOuting*, KivBool) override { ++heard_; }
  void OnOutingReloaded(IKivOuting*) override { ++heard_; }
  void OnItemsAdded(IKivDataFactory*, uint32_t, const NameList&) override { ++heard_; }
  void OnItemsRemoved(IKivDataFactory*, uint32_t, const NameList&) override { ++heard_; }
  void OnItemsChanged(IKivDataFactory*, uint32_t, const NameList&) override { ++heard_; }
  void OnWriterMessage(uint32_t level, const std::u16string& text) override;

  ComPtr<IKivOuting> outing_;
  std::string file_;
  int heard_ = 0;
  ComPtr<COutingNotifications2Sink<>> outingSink_;
  ComPtr<CDataFactoryNotificationsSink<CBaseMultiSourceSink>> factorySink_;
  ComPtr<CWriterNotificationsSink<>> writerSink_;
};

}  // namespace velmar::cli
