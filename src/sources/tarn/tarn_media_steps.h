// The media channel edits of a `.trn` outing as write-back steps, and their
// jobs: add a channel from a video file, change its clip's span, remove it.
//
// Adding copies (or moves) the video into the caller's folder as
// "%1X%03X%03X.kvmedia" with the lowest file number no channel uses, then
// writes a channel record of type 3 and one clip. The clip record holds the
// placed file's full path: the store gives clips their path back, and a
// clip without one can't be played, so the path is the link between the
// channel and its file wherever the folder is. Its one frame record of
// zeros means "no frame table". Progress of an add (10 to 90) reaches the
// transaction's owner as OnTransactionProgress(100, percent).
//
// Steps: client thread. Jobs: the store thread.
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>
#include <string_view>

#include "sources/tarn/tarn_transactions.h"
#include "writeback/write_back_step.h"

namespace velmar {

inline constexpr std::u16string_view kAddMediaDuplicate =
    u"Failed to add Media Channel \"%s\" - duplicate Media Channel found";
inline constexpr std::u16string_view kAddMediaCopyFailed =
    u"Failed to add Media Channel \"%s\" - couldn't copy/move file";
inline constexpr std::u16string_view kAddMediaFailed = u"Failed to add Media Channel \"%s\"";
inline constexpr std::u16string_view kModifyMediaNotFound =
    u"Failed to modify Media Channel \"%s\" - Media Channel not found";
inline constexpr std::u16string_view kModifyMediaFailed = u"Failed to modify Media Channel \"%s\"";
inline constexpr std::u16string_view kRemoveMediaNotFound =
    u"Failed to remove Media Channel \"%s\" - Media Channel not found";
inline constexpr std::u16string_view kRemoveMediaFailed = u"Failed to remove Media Channel \"%s\"";

// File numbers fill the 12 middle bits of the name: 1 to 4095.
inline constexpr uint32_t kMaxMediaFileNumber = 4095;

// "%1X%03X%03X.kvmedia" of 0, `fileNumber`, 0: 1 gives "0001000.kvmedia".
std::string MediaFileName(uint32_t fileNumber);

// Copies `from` to `to` (replacing it), or moves it, across volumes too;
// `progress` hears the bytes done and the total as it goes.
[[nodiscard]] bool PlaceMediaFile(const std::filesystem::path& from, const std::filesystem::path& to, bool move,
                                  const std::function<void(uint64_t, uint64_t)>& progress);

// What an add needs, copied at the call.
struct MediaChannelAddition {
  std::u16string name;
  std::u16string sourceFile;
  std::u16string folder;
  KivTime start = 0;
  KivTime end = 0;
  bool move = false;
};

// What every media job shares: the commit's write access and the channel's name.
class CTarnMediaJobItem : public CWriteBackJobItem {
 public:
  CTarnMediaJobItem(CStateMachineEx* owner, ComPtr<CTarnOutingTransactionJobItem> access, std::u16string name)
      : CWriteBackJobItem(owner), access_(std::move(access)), name_(std::move(name)) {}

 protected:
  // The store's records of the channels, through the write.
  [[nodiscard]] KivResult ReadChannels(ComPtr<IKivTarnMediaChannelRecords>* records) const;
  // The id of the channel of this name: S_FALSE when there is none.
  [[nodiscard]] KivResult FindChannel(uint64_t* id) const;
  ComPtr<IKivTarnMediaWriter> Writer() const;
  TarnConnection* Store() const { return access_ ? access_->connection() : nullptr; }
  // SetError with the channel's name, then E_FAIL.
  KivResult FailNamed(std::u16string_view message);
  const std::u16string& name() const { return name_; }

 private:
  ComPtr<CTarnOutingTransactionJobItem> access_;
  const std::u16string name_;
};

class CWBTarnAddMediaChannelJobItem final : public CTarnMediaJobItem {
 public:
  // `progress` is called on the store thread with 10..90.
  CWBTarnAddMediaChannelJobItem(CStateMachineEx* owner, ComPtr<CTarnOutingTransactionJobItem> access,
                                MediaChannelAddition add, std::function<void(uint32_t)> progress)
      : CTarnMediaJobItem(owner, std::move(access), add.name), add_(std::move(add)), progress_(std::move(progress)) {}

 protected:
  KivResult Run() override;

 private:
  const MediaChannelAddition add_;
  const std::function<void(uint32_t)> progress_;
};

class CWBTarnModifyMediaChannelJobItem final : public CTarnMediaJobItem {
 public:
  CWBTarnModifyMediaChannelJobItem(CStateMachineEx* owner, ComPtr<CTarnOutingTransactionJobItem> access,
                                   std::u16string name, KivTime start, KivTime end)
      : CTarnMediaJobItem(owner, std::move(access), std::move(name)), start_(start), end_(end) {}

 protected:
  KivResult Run() override;

 private:
  const KivTime start_;
  const KivTime end_;
};

class CWBTarnRemoveMediaChannelJobItem final : public CTarnMediaJobItem {
 public:
  using CTarnMediaJobItem::CTarnMediaJobItem;

 protected:
  KivResult Run() override;
};

// CWBTarnAddMediaChannelSM, CWBTarnModifyMediaChannelSM and
// CWBTarnRemoveMediaChannelSM in one: the step makes the job it was given
// the recipe of.
class CWBTarnMediaChannelSM final : public CWriteBackStateMachineBase {
 public:
  using MakeJob = std::function<ComPtr<CWriteBackJobItem>(CStateMachineEx*, ComPtr<CTarnOutingTransactionJobItem>)>;
  CWBTarnMediaChannelSM(CWriteBackStateChanges* receiver, MakeJob make)
      : CWriteBackStateMachineBase(receiver), make_(std::move(make)) {}
  KivResult CreateJob(CJobItem* writeAccess, ComPtr<CWriteBackJobItem>* job) override;
  AsyncThread GetJobThread() override;

 private:
  const MakeJob make_;
};

}  // namespace velmar
