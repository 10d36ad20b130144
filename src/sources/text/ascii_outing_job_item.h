// The jobs of a text outing on the "Ascii_Thread" worker: the load job,
// which reads a whole data set into plain structures the cache then reads,
// and the create job, which writes the format's empty file.
//
// A job touches only what it owns between queueing and completion; the
// client thread reads the result once the load machine is Done.
#pragma once

#include <cstdint>
#include <filesystem>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "jobs/job_item.h"
#include "outing/channels/channel_raw.h"
#include "platform/async/job_engine.h"
#include "sources/text/ascii_file_handles.h"
#include "sources/text/text_file_ops.h"
#include "sources/text/text_format.h"
#include "sources/text/text_status.h"
#include "sources/text/text_structures.h"
#include "velmar/types.h"

namespace velmar {

// One loaded column: the raw channel its channel objects make their blocks
// from (times in seconds, values), and the unit the column name carried.
struct CAsciiRawChannel {
  std::shared_ptr<CRawChannelBase> raw;
  std::u16string unit;
  uint32_t count() const { return raw ? raw->count() : 0; }
};

// One lap marker from the "End of lap" event set.
struct TextLapMarker {
  KivTime time = 0;
  int32_t number = 0;
  friend bool operator==(const TextLapMarker&, const TextLapMarker&) = default;
};

// The name of the event set whose times become lap markers.
inline constexpr std::u16string_view kEndOfLapEventSet = u"End of lap";

// Everything a load of one text data set gives.
struct AsciiOutingData {
  bool hasInformation = false;                   // the file has an {OutingInformation} block
  std::vector<TextInfoEntry> informationLines;   // in file order, unknown keys too
  std::vector<InformationProperty> information;  // the properties those lines fill
  int32_t firstLap = 1;
  std::map<std::u16string, CAsciiRawChannel> channels;  // of one name the first column stands
  TextEventSets events;
  std::vector<TextConstant> constants;
  std::vector<TextLapMarker> lapMarkers;  // rising time
  KivTime outingStart = kTimeMax;         // empty range (max, min) until something widens it
  KivTime outingEnd = kTimeMin;
  KivTime channelStart = kTimeMax;
  KivTime channelEnd = kTimeMin;

  bool empty() const { return channels.empty() && events.empty(); }
};

// The steps of the load on the calling thread: open (exclusively, read
// only), read every block, close. S_OK, or S_FALSE when the file holds
// neither channels nor events; a failure gives its TextStatus and leaves
// *out cleared.
TextStatus LoadAsciiOuting(const std::filesystem::path& path, TextFileOps& ops, AsciiOutingData* out,
                           const ChannelReadOptions& channelOptions = {});

// The file path of an outing path.
std::filesystem::path TextFilePath(const std::u16string& path);

class CAsciiOutingJobItem : public CJobItemEx {
 public:
  CAsciiOutingJobItem(CStateMachineEx* owner, const std::u16string& path, TextFileOps* ops = nullptr);

  // The result; read on the client thread once the job completed.
  const AsciiOutingData& data() const { return data_; }
  AsciiOutingData& data() { return data_; }
  // Why the last load failed (ok after a success).
  const TextStatus& load_status() const { return loadStatus_; }

  void WTCleanupAfterCancel() override { data_ = {}; }

 protected:
  // A failed open or magic gives E_FAIL; see LoadAsciiOuting.
  KivResult Run() override;

 private:
  const std::filesystem::path path_;
  TextFileOps& ops_;
  AsciiOutingData data_;
  TextStatus loadStatus_;
};

class CAsciiCreateJobItem : public CJobItemEx {
 public:
  CAsciiCreateJobItem(CStateMachineEx* owner, const std::u16string& path, TextFileOps* ops = nullptr);
  const TextStatus& create_status() const { return createStatus_; }

 protected:
  // Writes "KivaraASCIIDataSet" and an empty information block; a failure
  // gives the write's result code.
  KivResult Run() override;

 private:
  const std::filesystem::path path_;
  TextFileOps& ops_;
  TextStatus createStatus_;
};

// What the file cache frame needs to know of the text source.
struct AsciiSource {
  using LoadJob = CAsciiOutingJobItem;
  using CreateJob = CAsciiCreateJobItem;
  static AsyncThread Thread();
};

}  // namespace velmar
