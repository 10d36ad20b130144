// The blobs of a live outing object: each reads its type and bytes from the
// live core on the client thread the first time a client asks, and keeps
// them; CRTOutingBlobFactory lists the server's blobs and makes one object
// per name on first demand.
//
// Client thread only.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "core/notifications_impl.h"
#include "outing/factory/outing_data_factory.h"
#include "sources/realtime/rt_outing_core.h"
#include "velmar/blobs.h"

namespace velmar {

class CRTBlob final : public KivObject<IKivBlob, IKivNotificationsImpl<CRTBlob, IKivBlobNotifications2>> {
 public:
  CRTBlob(std::u16string name, CRTOutingCore* core) : name_(std::move(name)), core_(core) {}

  KivResult GetName(std::u16string* name) override;
  // The read's failure when the server can't give the blob; E_FAIL once detached.
  KivResult GetGuid(std::u16string* type) override;
  KivResult GetData(std::vector<uint8_t>* data) override;
  // 1 once read, 2 when the read failed, 0 before.
  KivResult GetStatus(uint32_t* status) override;
  // The blob leaves its outing: its sinks hear OnBlobRemoved.
  void Detach();

 private:
  KivResult Fetch();

  std::u16string name_;
  CRTOutingCore* core_;  // null once detached
  std::optional<rt::WireBlob> blob_;
  KivResult failure_ = S_OK;
};

class CRTOutingBlobFactory : public COutingDataFactory<IKivBlob*, IKivBlobFactory> {
 public:
  KivResult GetItem(const std::u16string& name, IKivBlob** blob) override;
  // Every blob detached (the outing goes).
  void DropBlobs();

 protected:
  ~CRTOutingBlobFactory() = default;
  void FillNames() override;
  void DropItem(const std::u16string& name, IKivBlob*& item) override;
  virtual CRTOutingCore& LiveCore() = 0;

 private:
  std::map<std::u16string, ComPtr<CRTBlob>> blobs_;
};

}  // namespace velmar
