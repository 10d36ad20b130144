#include "sources/tarn/tarn_media_steps.h"

#include <cstdio>
#include <fstream>
#include <set>
#include <vector>

#include "jobs/job_thread.h"
#include "sources/tarn/tarn_records.h"
#include "velmar/media.h"
#include "velmar/text.h"

namespace velmar {
namespace {

constexpr size_t kCopyChunk = 1 << 20;

// Percent of an add while its file is copied: 10 to 90.
uint32_t CopyPercent(uint64_t done, uint64_t total) {
  return 10 + static_cast<uint32_t>(total ? (static_cast<double>(done) / static_cast<double>(total)) * 80.0 : 80.0);
}

bool CopyWithProgress(const std::filesystem::path& from, const std::filesystem::path& to,
                      const std::function<void(uint64_t, uint64_t)>& progress) {
  std::error_code ec;
  const uint64_t total = std::filesystem::file_size(from, ec);
  if (ec) return false;
  std::ifstream in(from, std::ios::binary);
  std::ofstream out(to, std::ios::binary | std::ios::trunc);
  if (!in || !out) return false;
  std::vector<char> chunk(kCopyChunk);
  uint64_t done = 0;
  while (in) {
    in.read(chunk.data(), static_cast<std::streamsize>(chunk.size()));
    const std::streamsize got = in.gcount();
    if (got <= 0) break;
    if (!out.write(chunk.data(), got)) return false;
    done += static_cast<uint64_t>(got);
    progress(done, total);
  }
  out.flush();
  return in.eof() && out.good() && done == total;
}

}  // namespace

std::string MediaFileName(uint32_t fileNumber) {
  char name[32];
  std::snprintf(name, sizeof name, "%1X%03X%03X.kvmedia", 0u, fileNumber, 0u);
  return name;
}

bool PlaceMediaFile(const std::filesystem::path& from, const std::filesystem::path& to, bool move,
                    const std::function<void(uint64_t, uint64_t)>& progress) {
  std::error_code ec;
  // A target left read-only by an earlier add must not stop this one.
  if (std::filesystem::exists(to, ec)) {
    std::filesystem::permissions(to, std::filesystem::perms::owner_read | std::filesystem::perms::owner_write,
                                 std::filesystem::perm_options::add, ec);
  }
  if (move) {
    std::filesystem::rename(from, to, ec);
    if (!ec) return true;
    // Another volume: copy, then take the source away.
    if (!CopyWithProgress(from, to, progress)) return false;
    return std::filesystem::remove(from, ec) && !ec;
  }
  return CopyWithProgress(from, to, progress);
}

// --- Jobs ----------------------------------------------------------------------

KivResult CTarnMediaJobItem::ReadChannels(ComPtr<IKivTarnMediaChannelRecords>* records) const {
  TarnConnection* store = Store();
  if (!store || !store->media) return E_FAIL;
  return store->media->GetMediaChannels(kTarnWaitForever, records->Put());
}

KivResult CTarnMediaJobItem::FindChannel(uint64_t* id) const {
  ComPtr<IKivTarnMediaChannelRecords> records;
  if (KivResult r = ReadChannels(&records); Failed(r)) return r;
  for (const TarnMediaChannelRecord& m : Items(records)) {
    if (m.name && name_ == m.name) {
      *id = m.id;
      return S_OK;
    }
  }
  return S_FALSE;
}

ComPtr<IKivTarnMediaWriter> CTarnMediaJobItem::Writer() const {
  return access_ ? access_->Writer<IKivTarnMediaWriter>() : nullptr;
}

KivResult CTarnMediaJobItem::FailNamed(std::u16string_view message) {
  SetError(message, name_);
  return E_FAIL;
}

KivResult CWBTarnAddMediaChannelJobItem::Run() {
  progress_(10);
  ComPtr<IKivTarnMediaChannelRecords> records;
  ComPtr<IKivTarnMediaWriter> writer = Writer();
  if (!writer || Failed(ReadChannels(&records))) return FailNamed(kAddMediaFailed);
  bool duplicate = false;
  std::set<uint32_t> used;
  for (const TarnMediaChannelRecord& m : Items(records)) {
    duplicate = duplicate || (m.name && add_.name == m.name);
    used.insert(m.fileNumber);
  }
  uint32_t fileNumber = 1;
  while (fileNumber <= kMaxMediaFileNumber && used.contains(fileNumber)) ++fileNumber;
  if (fileNumber > kMaxMediaFileNumber) return FailNamed(kAddMediaFailed);
  const std::filesystem::path folder(WideToUtf8(add_.folder));
  const std::filesystem::path target = folder / MediaFileName(fileNumber);
  if (duplicate) return FailNamed(kAddMediaDuplicate);
  std::error_code ec;
  std::filesystem::create_directories(folder, ec);
  const bool placed = PlaceMediaFile(std::filesystem::path(WideToUtf8(add_.sourceFile)), target, add_.move,
                                     [this](uint64_t done, uint64_t total) { progress_(CopyPercent(done, total)); });
  if (!placed) return FailNamed(kAddMediaCopyFailed);

  const std::u16string path = Utf8ToWide(std::filesystem::absolute(target, ec).string());
  TarnMediaChannelRecord channel{0, add_.name.c_str(), 1, kMediaChannelAddedByUser, 2, 2, 1, fileNumber, 0};
  std::vector<uint64_t> ids;
  if (Failed(writer->AddMediaChannels(1, &channel, &ids)) || ids.size() != 1) return FailNamed(kAddMediaFailed);
  const TarnMediaFrame noTable{};
  TarnMediaClipRecord clip{0, path.c_str(), ids.front(), 0, add_.start, add_.end, 1, {}, &noTable};
  std::vector<uint64_t> clipIds;
  if (Failed(writer->AddMediaClips(1, &clip, &clipIds))) return FailNamed(kAddMediaFailed);
  progress_(90);
  return S_OK;
}

KivResult CWBTarnModifyMediaChannelJobItem::Run() {
  uint64_t id = 0;
  const KivResult found = FindChannel(&id);
  if (found == S_FALSE) return FailNamed(kModifyMediaNotFound);
  TarnConnection* store = Store();
  ComPtr<IKivTarnMediaWriter> writer = Writer();
  ComPtr<IKivTarnMediaClipRecords> clips;
  if (Failed(found) || !writer ||
      Failed(store->media->GetMediaClips(kTarnWaitForever, id, kTimeMin, kTimeMax, clips.Put()))) {
    return FailNamed(kModifyMediaFailed);
  }
  std::span<const TarnMediaClipRecord> items = Items(clips);
  if (items.empty()) return FailNamed(kModifyMediaFailed);
  const uint64_t clipId = items.front().id;
  if (Failed(writer->SetMediaClipTimes(1, &clipId, start_, end_))) return FailNamed(kModifyMediaFailed);
  return S_OK;
}

KivResult CWBTarnRemoveMediaChannelJobItem::Run() {
  uint64_t id = 0;
  const KivResult found = FindChannel(&id);
  if (found == S_FALSE) return FailNamed(kRemoveMediaNotFound);
  ComPtr<IKivTarnMediaWriter> writer = Writer();
  if (Failed(found) || !writer || Failed(writer->RemoveMediaChannels(1, &id))) return FailNamed(kRemoveMediaFailed);
  return S_OK;
}

// --- Step ----------------------------------------------------------------------

KivResult CWBTarnMediaChannelSM::CreateJob(CJobItem* writeAccess, ComPtr<CWriteBackJobItem>* job) {
  ComPtr<CTarnOutingTransactionJobItem> access(static_cast<CTarnOutingTransactionJobItem*>(writeAccess));
  *job = make_(this, std::move(access));
  return *job ? S_OK : E_OUTOFMEMORY;
}

AsyncThread CWBTarnMediaChannelSM::GetJobThread() { return DaeThread(); }

}  // namespace velmar
