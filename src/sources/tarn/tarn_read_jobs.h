// The jobs that read a `.trn` outing's lists and data on the store thread.
//
// Each job is built on the client thread with the connection (the open job,
// see tarn_connection.h) and the ids it needs, runs on the store thread, and
// keeps what it read in its own fields: the outing answers from the finished
// job and has no second copy. Store records objects never leave Run: what
// they hold is copied out and they are released on the store thread.
//
// A job that finds no interface ends with E_FAIL; a failure of the store is
// the job's result (E_BADFILEVERSION says that the store doesn't know the
// file's format version).
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "config/status_channel_definitions.h"
#include "jobs/job_item.h"
#include "outing/channels/channel_data_cache.h"
#include "sources/tarn/tarn_channel_data.h"
#include "sources/tarn/tarn_channel_list.h"
#include "sources/tarn/tarn_connection.h"
#include "sources/tarn/tarn_event_data.h"
#include "sources/tarn/tarn_lap_data.h"
#include "sources/tarn/tarn_media_data.h"
#include "sources/tarn/tarn_properties.h"

namespace velmar {

// The part every read shares: the connection, and the check that it holds
// an interface.
class CTarnReadJobItem : public CJobItemEx {
 public:
  // Public, so that the reads that inherit it can be made with MakeKiv.
  CTarnReadJobItem(CStateMachineEx* owner, ComPtr<COpenFileJobItem> connection)
      : CJobItemEx(owner), connection_(std::move(connection)) {}

 protected:
  KivResult Run() final;
  // Store thread: the read itself, over an open connection.
  virtual KivResult Read(TarnConnection& connection) = 0;

 private:
  ComPtr<COpenFileJobItem> connection_;
};

// The outing's details record, as properties.
class CLoadOutingJobItem final : public CTarnReadJobItem {
 public:
  using CTarnReadJobItem::CTarnReadJobItem;
  // Empty when the file has no details record.
  const TarnPropertyMap& properties() const { return properties_; }

 protected:
  KivResult Read(TarnConnection& connection) override;

 private:
  TarnPropertyMap properties_;
};

// The channel list, keyed by channel key text.
class CLoadChannelNamesJobItem final : public CTarnReadJobItem {
 public:
  using CTarnReadJobItem::CTarnReadJobItem;
  const TarnChannelMap& channels() const { return channels_; }

 protected:
  KivResult Read(TarnConnection& connection) override;

 private:
  TarnChannelMap channels_;
};

// One channel's samples over the whole outing: the read that the outing's
// channel data cache runs on the store thread for a channel.
class CTarnChannelDataFetch final : public CChannelDataFetch {
 public:
  CTarnChannelDataFetch(ComPtr<COpenFileJobItem> connection, TarnChannelEntry channel)
      : connection_(std::move(connection)), channel_(channel) {}
  // No sections when the channel has no samples or its records are bad.
  KivResult Fetch(ChannelSections* sections) override;

 private:
  ComPtr<COpenFileJobItem> connection_;
  const TarnChannelEntry channel_;
};

// The fetch of a channel asked for while the channel list is being read
// again: it asks for a new try, which comes after the list's read on the same
// thread and so finds the channel listed (or not, and fails).
class CTarnWaitForListFetch final : public CChannelDataFetch {
 public:
  KivResult Fetch(ChannelSections*) override { return E_JOB_DROPPED; }
};

// An item of a list: id and name (event sets, blobs).
struct TarnNamedItem {
  uint64_t id = 0;
  std::u16string name;
  Guid type;  // blobs only
};
// The items by name; of two with one name the first counts.
std::map<std::u16string, TarnNamedItem> NamedItemMap(const std::vector<TarnNamedItem>& items);

class CGetEventNamesJobItem final : public CTarnReadJobItem {
 public:
  using CTarnReadJobItem::CTarnReadJobItem;
  const std::vector<TarnNamedItem>& names() const { return names_; }

 protected:
  KivResult Read(TarnConnection& connection) override;

 private:
  std::vector<TarnNamedItem> names_;
};

// The occurrences of one event set over the whole outing.
class CGetCachedEventsJobItem final : public CTarnReadJobItem {
 public:
  CGetCachedEventsJobItem(CStateMachineEx* owner, ComPtr<COpenFileJobItem> connection, uint64_t eventId)
      : CTarnReadJobItem(owner, std::move(connection)), eventId_(eventId) {}
  // None when a record was bad.
  const std::vector<EventRecordPtr>& events() const { return events_; }

 protected:
  KivResult Read(TarnConnection& connection) override;

 private:
  const uint64_t eventId_;
  std::vector<EventRecordPtr> events_;
};

// The lap markers with the outing's span and movement. Fails (E_FAIL) when
// the store's answers don't hold together (see TakeLapData).
class CGetLapMarkerDataJobItem final : public CTarnReadJobItem {
 public:
  using CTarnReadJobItem::CTarnReadJobItem;
  const TarnLapData& data() const { return data_; }

 protected:
  KivResult Read(TarnConnection& connection) override;

 private:
  TarnLapData data_;
};

struct TarnConstant {
  uint64_t id = 0;
  std::u16string name;
  double value = 0.0;
  bool isText = false;  // a text constant: `text` is its value, `value` means nothing
  std::u16string text;
  std::u16string unit;
};

class CTarnGetConstantsJobItem final : public CTarnReadJobItem {
 public:
  using CTarnReadJobItem::CTarnReadJobItem;
  const std::vector<TarnConstant>& constants() const { return constants_; }

 protected:
  KivResult Read(TarnConnection& connection) override;

 private:
  std::vector<TarnConstant> constants_;
};

// The blob list: id, type and name of each.
class CLoadBlobJobItem final : public CTarnReadJobItem {
 public:
  using CTarnReadJobItem::CTarnReadJobItem;
  const std::vector<TarnNamedItem>& blobs() const { return blobs_; }

 protected:
  KivResult Read(TarnConnection& connection) override;

 private:
  std::vector<TarnNamedItem> blobs_;
};

// The content of one blob.
class CGetBlobDataJobItem final : public CTarnReadJobItem {
 public:
  CGetBlobDataJobItem(CStateMachineEx* owner, ComPtr<COpenFileJobItem> connection, uint64_t blobId)
      : CTarnReadJobItem(owner, std::move(connection)), blobId_(blobId) {}
  const Guid& type() const { return type_; }
  const std::vector<uint8_t>& bytes() const { return bytes_; }

 protected:
  KivResult Read(TarnConnection& connection) override;

 private:
  const uint64_t blobId_;
  Guid type_;
  std::vector<uint8_t> bytes_;
};

// What the status channel definitions are built from: the channel records
// (display name, tag name, quantity id), the unit table's largest quantity
// id, and the bytes of the first blob of the definitions type. A file with
// no such blob fails (E_FAIL).
class CStatusChannelDefinitionJobItem final : public CTarnReadJobItem {
 public:
  using CTarnReadJobItem::CTarnReadJobItem;
  const std::vector<StatusChannelRecord>& channels() const { return channels_; }
  int32_t largest_quantity() const { return largestQuantity_; }
  const std::vector<uint8_t>& blob() const { return blob_; }

 protected:
  KivResult Read(TarnConnection& connection) override;

 private:
  std::vector<StatusChannelRecord> channels_;
  int32_t largestQuantity_ = 0;
  std::vector<uint8_t> blob_;
};

// The media channel list, by name.
class CLoadMediaChannelNamesJobItem final : public CTarnReadJobItem {
 public:
  using CTarnReadJobItem::CTarnReadJobItem;
  const TarnMediaChannelMap& channels() const { return channels_; }

 protected:
  KivResult Read(TarnConnection& connection) override;

 private:
  TarnMediaChannelMap channels_;
};

// The clips of one media channel over the whole outing. Fails (E_FAIL) when
// a clip can't be used (see TakeMediaClips).
class CLoadMediaChannelAccessDataJobItem final : public CTarnReadJobItem {
 public:
  CLoadMediaChannelAccessDataJobItem(CStateMachineEx* owner, ComPtr<COpenFileJobItem> connection, uint64_t channelId)
      : CTarnReadJobItem(owner, std::move(connection)), channelId_(channelId) {}
  // By start.
  const std::vector<TarnMediaClip>& clips() const { return clips_; }

 protected:
  KivResult Read(TarnConnection& connection) override;

 private:
  const uint64_t channelId_;
  std::vector<TarnMediaClip> clips_;
};

}  // namespace velmar
