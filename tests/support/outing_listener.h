// Listens to every notification family of an outing and logs what it hears,
// with the thread each notification came on.
#pragma once

#include <string>
#include <thread>
#include <vector>

#include "velmar/outing_notifications.h"
#include "velmar/text.h"

namespace velmar::testing {

class OutingListener : public COutingNotifications2Receiver,
                       public CDataFactoryNotificationsReceiver,
                       public CLapMarkersNotifications2Receiver,
                       public CTransactionNotificationsReceiver,
                       public CWriterNotificationsReceiver {
 public:
  // Connects to `outing`, which it holds until it goes.
  explicit OutingListener(IKivUnknown* outing) : outing_(outing) {
    Connect(outingSink_);
    Connect(factorySink_);
    Connect(lapSink_);
    Connect(transactionSink_);
    Connect(writerSink_);
  }
  ~OutingListener() override {
    Disconnect(outingSink_);
    Disconnect(factorySink_);
    Disconnect(lapSink_);
    Disconnect(transactionSink_);
    Disconnect(writerSink_);
  }
  OutingListener(const OutingListener&) = delete;
  OutingListener& operator=(const OutingListener&) = delete;

  bool connected() const { return connected_ == 5; }

  std::vector<std::string> log;
  std::vector<std::thread::id> threads;
  std::vector<IKivUnknown*> sources;  // first argument, where there is one
  std::vector<uint32_t> kinds;         // the kind of each factory notification, in order

  void OnInformationChanged(IKivOuting* outing) override { Hear("InformationChanged", outing); }
  void OnCreated(IKivOuting* outing, KivBool success) override {
    Hear("Created:" + std::to_string(success), outing);
  }
  void OnOutingReloaded(IKivOuting* outing) override { Hear("Reloaded", outing); }
  void OnItemsAdded(IKivDataFactory* factory, uint32_t kind, const NameList& names) override {
    HearList("ItemsAdded:", factory, kind, names);
  }
  void OnItemsRemoved(IKivDataFactory* factory, uint32_t kind, const NameList& names) override {
    HearList("ItemsRemoved:", factory, kind, names);
  }
  void OnItemsChanged(IKivDataFactory* factory, uint32_t kind, const NameList& names) override {
    HearList("ItemsChanged:", factory, kind, names);
  }
  void OnLapMarkersReset() override { Hear("LapMarkersReset", nullptr); }
  void OnLapMarkersChanged(IKivOuting* outing, KivTime from, KivTime to) override {
    Hear("LapMarkersChanged:" + std::to_string(from) + "," + std::to_string(to), outing);
  }
  void OnLapMarkersShifted(IKivOuting* outing, KivTime from, KivTime to) override {
    Hear("LapMarkersShifted:" + std::to_string(from) + "," + std::to_string(to), outing);
  }
  void OnTransactionStarted() override { Hear("TransactionStarted", nullptr); }
  void OnTransactionFinished() override { Hear("TransactionFinished", nullptr); }
  void OnTransactionMessage(const std::u16string& text) override {
    Hear("TransactionMessage:" + WideToUtf8(text), nullptr);
  }
  void OnTransactionProgress(uint32_t total, uint32_t done) override {
    Hear("TransactionProgress:" + std::to_string(done) + "/" + std::to_string(total), nullptr);
  }
  void OnWriterMessage(uint32_t level, const std::u16string& text) override {
    Hear("WriterMessage:" + std::to_string(level) + ":" + WideToUtf8(text), nullptr);
  }

 private:
  template <class Sink>
  void Connect(ComPtr<Sink>& sink) {
    sink = MakeKiv<Sink>();
    sink->SetReceiver(this);
    if (sink->Connect(outing_.Get())) ++connected_;
  }
  template <class Sink>
  void Disconnect(ComPtr<Sink>& sink) {
    sink->SetReceiver(nullptr);
    sink->Disconnect(outing_.Get());
    sink = nullptr;
  }
  // Keeps the identity of the notification's source.
  void Hear(std::string what, IKivUnknown* source) {
    log.push_back(std::move(what));
    threads.push_back(std::this_thread::get_id());
    sources.push_back(source ? QueryAs<IKivUnknown>(source).Get() : nullptr);
  }
  void HearList(const char* what, IKivDataFactory* factory, uint32_t kind, const NameList& names) {
    kinds.push_back(kind);
    Hear(what + Joined(names), factory);
  }
  static std::string Joined(const NameList& names) {
    std::string out;
    for (const std::u16string& name : names) {
      if (!out.empty()) out += ",";
      out += WideToUtf8(name);
    }
    return out;
  }

  ComPtr<IKivUnknown> outing_;
  ComPtr<COutingNotifications2Sink<>> outingSink_;
  ComPtr<CDataFactoryNotificationsSink<>> factorySink_;
  ComPtr<CLapMarkersNotifications2Sink<>> lapSink_;
  ComPtr<CTransactionNotificationsSink<>> transactionSink_;
  ComPtr<CWriterNotificationsSink<>> writerSink_;
  int connected_ = 0;
};

}  // namespace velmar::testing
