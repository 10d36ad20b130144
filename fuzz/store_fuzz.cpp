// Feeds arbitrary bytes to the store as a `.trn` file: open, walk every
// list, read some data, try a write that is then dropped. Nothing may crash;
// every failure must be a result code.
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "sources/tarn/tarn_records.h"
#include "velmar/tarn_store.h"
#include "velmar/text.h"

namespace {

using namespace velmar;

volatile size_t gSink = 0;

// Reads every character of the texts, so a bad pointer shows under a sanitizer.
template <class... Texts>
void Touch(Texts... texts) {
  size_t n = 0;
  ((n += texts ? std::u16string_view(texts).size() : 0), ...);
  gSink = gSink + n;
}

void ReadChannels(const ComPtr<IKivTarnStore>& store) {
  auto channels = store.As<IKivTarnChannels>();
  ComPtr<IKivTarnChannelRecords> list;
  if (Failed(channels->GetChannelList(0, list.Put()))) return;
  size_t n = 0;
  for (const TarnChannelDescription& c : Items(list)) {
    Touch(c.displayName, c.tagName, c.userType);
    if (++n > 16) break;
    for (auto [from, to] : {std::pair{kTimeMin, kTimeMax}, std::pair{KivTime{0}, KivTime{10'000'000}}}) {
      ComPtr<IKivTarnChannelDataRecords> data;
      if (Failed(channels->GetChannelData(0, c.id, from, to, data.Put()))) continue;
      size_t size = TarnSampleSize(c.sampleType);
      volatile uint8_t sink = 0;
      for (const TarnChannelData& d : Items(data)) {
        const auto* bytes = static_cast<const uint8_t*>(d.samples);
        if (d.count > 0) sink = sink + bytes[0] + bytes[static_cast<size_t>(d.count) * size - 1];
        sink = sink + static_cast<uint8_t>(d.periodic ? d.times[0] : d.times[d.count - 1]);
      }
    }
  }
}

void ReadEvents(const ComPtr<IKivTarnStore>& store) {
  auto events = store.As<IKivTarnEvents>();
  ComPtr<IKivTarnEventNameRecords> names;
  if (Failed(events->GetEventNames(0, names.Put()))) return;
  std::vector<uint64_t> ids;
  for (const TarnEventName& n : Items(names)) {
    Touch(n.name);
    ids.push_back(n.id);
  }
  ComPtr<IKivTarnEventRecords> data;
  if (Failed(events->GetEventData(0, static_cast<uint32_t>(ids.size()), ids.data(), kTimeMin, kTimeMax, data.Put())))
    return;
  volatile uint8_t sink = 0;
  for (const TarnEventRecord& e : Items(data)) {
    Touch(e.name, e.source, e.message);
    if (e.payloadSize) sink = sink + e.payload[e.payloadSize - 1];
    if (e.fixedData) sink = sink + e.fixedData[kTarnEventFixedDataSize - 1];
  }
}

void ReadSmallLists(const ComPtr<IKivTarnStore>& store) {
  KivTime a = 0, b = 0;
  (void)store->GetOutingRange(0, &a, &b);
  (void)store->GetMovementRange(0, &a, &b);
  ComPtr<IKivTarnOutingRecords> details;
  if (Succeeded(store.As<IKivTarnOutingDetails>()->GetDetails(0, details.Put())))
    for (const TarnOutingRecord& d : Items(details)) Touch(d.trackName, d.carName, d.longComment);
  ComPtr<IKivTarnLapMarkerRecords> markers;
  (void)store.As<IKivTarnLapMarkers>()->GetLapMarkers(0, markers.Put());
  ComPtr<IKivTarnConstantRecords> constants;
  if (Succeeded(store.As<IKivTarnConstants>()->GetConstants(0, constants.Put())))
    for (const TarnConstantRecord& c : Items(constants)) Touch(c.name, c.text, c.unit);
  auto blobs = store.As<IKivTarnBlobs>();
  ComPtr<IKivTarnBlobRecords> blobList;
  if (Succeeded(blobs->GetBlobList(0, blobList.Put()))) {
    for (const TarnBlobDescription& b : Items(blobList)) {
      ComPtr<IKivTarnBlobDataRecords> content;
      if (Failed(blobs->GetBlobData(0, b.id, content.Put()))) continue;
      volatile uint8_t sink = 0;
      for (const TarnBlobRecord& r : Items(content))
        if (r.size) sink = sink + r.data[r.size - 1] + static_cast<uint8_t>(r.type->data1);
    }
  }
  auto media = store.As<IKivTarnMedia>();
  ComPtr<IKivTarnMediaChannelRecords> mediaList;
  if (Succeeded(media->GetMediaChannels(0, mediaList.Put()))) {
    for (const TarnMediaChannelRecord& m : Items(mediaList)) {
      ComPtr<IKivTarnMediaClipRecords> clips;
      if (Failed(media->GetMediaClips(0, m.id, kTimeMin, kTimeMax, clips.Put()))) continue;
      volatile int64_t sink = 0;
      for (const TarnMediaClipRecord& c : Items(clips)) {
        Touch(c.path);
        if (c.frameCount) sink = sink + c.frames[c.frameCount - 1].time;
      }
    }
  }
}

// A write on whatever the file holds, dropped at the end.
void TryWrite(const ComPtr<IKivTarnStore>& store) {
  ComPtr<IKivTarnWriteHandle> handle;
  if (Failed(store.As<IKivTarnWriteAccess>()->GetWriteHandle(0, IKivTarnWriteHandle::iid, handle.PutVoid()))) return;
  TarnConstantRecord c{};
  c.name = u"fuzz";
  std::vector<uint64_t> ids;
  (void)handle.As<IKivTarnConstantWriter>()->AddConstants(1, &c, &ids);
  uint64_t marker = 1;
  (void)handle.As<IKivTarnLapMarkerWriter>()->RemoveLapMarkers(1, &marker);
  (void)handle->Abort();
}

void RemoveFile(const std::filesystem::path& file) {
  std::error_code ec;
  for (const char* suffix : {"", "-wal", "-shm", "-journal"})
    std::filesystem::remove(std::filesystem::path(file.string() + suffix), ec);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static ComPtr<IKivTarnStoreFactory> factory = [] {
    ComPtr<IKivTarnStoreFactory> f;
    (void)CreateTarnStoreFactory(&f);
    return f;
  }();
  static const std::filesystem::path file =
      std::filesystem::temp_directory_path() / ("velmar-store-fuzz-" + std::to_string(getpid()) + ".trn");
  RemoveFile(file);
  std::ofstream(file, std::ios::binary).write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));
  {
    ComPtr<IKivTarnStore> store;
    if (Succeeded(factory->OpenFile(W(file.string()), IKivTarnStore::iid, store.PutVoid()))) {
      ReadSmallLists(store);
      ReadChannels(store);
      ReadEvents(store);
      TryWrite(store);
    }
  }
  RemoveFile(file);
  return 0;
}
