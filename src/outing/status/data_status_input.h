// The inputs of a computed item: the items it is made from, each watched
// through its notifications, and the walk that gives the status they allow.
//
// A CDataInput registers on its input for data notifications (generation 2)
// and internal notifications, forwards what the input raises to the item
// (its CDataInputHost), and takes both registrations back when it goes.
//
// Client thread only.
#pragma once

#include <map>
#include <memory>
#include <string>

#include "velmar/channel.h"
#include "velmar/types.h"
#include "velmar/unknown.h"

namespace velmar {

// What an item does when one of its inputs raises something.
class CDataInputHost {
 public:
  // The input changed over (from, to).
  virtual void InputChanged(KivTime from, KivTime to) = 0;
  // The input was removed.
  virtual void InputRemoved() = 0;
  // The input's data could not be fetched.
  virtual void InputFailed() = 0;
  // The input raised its internal notification.
  virtual void InputInternal() = 0;

 protected:
  ~CDataInputHost() = default;
};

class CDataInput final : public CDataNotifications2Receiver, public CInternalDataNotificationsReceiver {
 public:
  // Connects to `input`'s notifications; an input that raises none is still
  // held and asked for its status.
  CDataInput(CDataInputHost& host, ComPtr<IKivUnknown> input, bool optional);
  ~CDataInput() override;
  CDataInput(const CDataInput&) = delete;
  CDataInput& operator=(const CDataInput&) = delete;

  IKivUnknown* input() const { return input_.Get(); }
  // An unavailable optional input does not make the item unavailable.
  bool optional() const { return optional_; }

  void OnDataChanged(IKivData* item, KivTime from, KivTime to) override;
  void OnDataRemoved(IKivData* item) override;
  void OnDataFailed(IKivData* item) override;
  void OnInternalDataChanged(IKivData* item) override;

 private:
  CDataInputHost& host_;
  ComPtr<IKivUnknown> input_;
  bool optional_;
  ComPtr<CDataNotifications2Sink<>> dataSink_;
  ComPtr<CInternalDataNotificationsSink<>> internalSink_;
};

// An item's inputs by key; walks go in key order.
class CDataInputs {
 public:
  // Replaces any input of that key. E_POINTER for a null input.
  [[nodiscard]] KivResult Add(CDataInputHost& host, const std::u16string& key, IKivUnknown* input,
                              bool optional);
  // False when no input has that key.
  bool Remove(const std::u16string& key);
  void Clear();
  bool empty() const { return inputs_.empty(); }
  size_t size() const { return inputs_.size(); }

  // The status the inputs allow: 2 at once for an input without IKivData,
  // one whose GetStatus fails, or a required one that is not available;
  // otherwise 3 when any is pending, else 1.
  [[nodiscard]] DataStatus Status() const;

 private:
  std::map<std::u16string, std::unique_ptr<CDataInput>> inputs_;
};

}  // namespace velmar
