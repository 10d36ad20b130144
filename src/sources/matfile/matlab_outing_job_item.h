// The jobs of a MAT-file outing on the "Matlab_Thread" worker: the load
// job, which reads the information and channel variables into plain
// structures the cache then reads, and the create job, which writes the
// header of a new file.
//
// A job touches only what it owns between queueing and completion; the
// client thread reads the result once the load machine is Done.
#pragma once

#include <filesystem>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "jobs/job_item.h"
#include "outing/channels/channel_raw.h"
#include "platform/async/job_engine.h"
#include "sources/matfile/matlab_file_handles.h"
#include "velmar/property_set.h"
#include "velmar/types.h"

namespace velmar {

// "System details" of a file of ours, and of any other writer's.
inline constexpr std::u16string_view kMatOwnDetails = u"Kivara Written DataSet";
inline constexpr std::u16string_view kMatForeignDetails = u"Externally Written DataSet";

// Everything a load of one MAT-file gives.
struct MatlabOutingData {
  PropertyList information;  // "System details" first, then the file's, first of a name standing
  std::map<std::u16string, std::shared_ptr<CRawChannelBase>> channels;  // first of a name stands
  KivTime outingStart = kTimeMax;  // empty range (max, min) until a channel widens it
  KivTime outingEnd = kTimeMin;
  KivTime channelStart = kTimeMax;
  KivTime channelEnd = kTimeMin;
};

// The load's steps on the calling thread, over an open file's bytes: the
// property block, then the channels. S_OK, or S_FALSE when no channel was found.
// With `owner` (what keeps the bytes in place) the channels read their times
// where they lie, until their first read has split them; without, they copy.
KivResult ReadMatlabOuting(std::string_view bytes, MatlabOutingData* out,
                           const std::shared_ptr<const void>& owner = nullptr);

class CMatlabOutingJobItem : public CJobItemEx {
 public:
  CMatlabOutingJobItem(CStateMachineEx* owner, const std::u16string& path, TextFileOps* ops = nullptr);

  // The result; read on the client thread once the job completed.
  const MatlabOutingData& data() const { return data_; }
  // Why the last open failed (ok after a success).
  const TextStatus& load_status() const { return loadStatus_; }

  void WTCleanupAfterCancel() override { data_ = {}; }

 protected:
  // A failed open gives its negative code.
  KivResult Run() override;

 private:
  const std::filesystem::path path_;
  TextFileOps& ops_;
  MatlabOutingData data_;
  TextStatus loadStatus_;
};

class CMatlabCreateJobItem : public CJobItemEx {
 public:
  CMatlabCreateJobItem(CStateMachineEx* owner, const std::u16string& path, TextFileOps* ops = nullptr);

 protected:
  // The 128-byte header and nothing else; E_FAIL on any failure.
  KivResult Run() override;

 private:
  const std::filesystem::path path_;
  TextFileOps& ops_;
};

// What the file cache frame needs to know of the MAT-file source.
struct MatlabSource {
  using LoadJob = CMatlabOutingJobItem;
  using CreateJob = CMatlabCreateJobItem;
  static AsyncThread Thread();
};

// The file path of an outing path.
std::filesystem::path MatFilePath(const std::u16string& path);

}  // namespace velmar
