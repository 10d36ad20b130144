#include "sources/tarn/tarn_convert.h"

#include <filesystem>
#include <limits>
#include <random>

#include "velmar/channel_key.h"
#include "velmar/text.h"

namespace velmar {
namespace {

namespace fs = std::filesystem;

// A sibling of `path` that no one else uses.
fs::path TemporaryBeside(const fs::path& path) {
  std::random_device random;
  std::string name = ".kiv" + std::to_string(random()) + std::to_string(random()) + ".trn.tmp";
  return path.parent_path() / (path.filename().string() + name);
}

void RemoveStoreFile(const fs::path& file) {
  std::error_code ec;
  for (const char* suffix : {"", "-wal", "-shm", "-journal"}) fs::remove(fs::path(file.string() + suffix), ec);
}

// Writes through an open handle, step by step; each step is all or nothing.
class DataSetWriter {
 public:
  DataSetWriter(const ComPtr<IKivTarnWriteHandle>& handle, const TarnDataSet& data) : handle_(handle), data_(data) {}

  [[nodiscard]] KivResult Write() {
    KivResult r = WriteDetails();
    if (Succeeded(r)) r = WriteChannels();
    if (Succeeded(r)) r = WriteEvents();
    if (Succeeded(r)) r = WriteConstants();
    if (Succeeded(r)) r = WriteBlobs();
    if (Succeeded(r)) r = WriteLapMarkers();
    return r;
  }

 private:
  template <class I>
  [[nodiscard]] KivResult Writer(ComPtr<I>* writer) const {
    return handle_->QueryInterface(I::iid, writer->PutVoid());
  }

  [[nodiscard]] KivResult WriteDetails() {
    ComPtr<IKivTarnDetailsWriter> w;
    KivResult r = Writer(&w);
    if (Failed(r)) return r;
    TarnOutingRecord record = DetailsRecord(data_.details);
    r = w->WriteDetails(&record);
    if (Succeeded(r) && data_.outingRange) r = w->SetOutingRange(data_.outingRange->first, data_.outingRange->second);
    if (Succeeded(r) && data_.movementRange)
      r = w->SetMovementRange(data_.movementRange->first, data_.movementRange->second);
    return r;
  }

  [[nodiscard]] KivResult WriteChannels() {
    if (data_.channels.empty()) return S_OK;
    ComPtr<IKivTarnChannelWriter> w;
    KivResult r = Writer(&w);
    if (Failed(r)) return r;
    std::vector<std::u16string> keys;
    std::vector<TarnChannelDescription> records;
    keys.reserve(data_.channels.size());
    for (const TarnDataSetChannel& c : data_.channels)
      keys.push_back(CChannelKey(c.name, static_cast<uint32_t>(std::max(c.quantity, 0))).text());
    for (size_t i = 0; i < data_.channels.size(); ++i) records.push_back(ChannelDescription(data_.channels[i], keys[i]));
    std::vector<uint64_t> ids;
    r = w->AddChannels(static_cast<uint32_t>(records.size()), records.data(), &ids);
    if (Failed(r)) return r;
    for (size_t i = 0; i < data_.channels.size() && Succeeded(r); ++i) r = WriteSamples(*w, ids.at(i), data_.channels[i]);
    return r;
  }

  [[nodiscard]] static KivResult WriteSamples(IKivTarnChannelWriter& w, uint64_t id, const TarnDataSetChannel& c) {
    if (c.blocks.empty()) return S_OK;
    std::vector<TarnChannelData> blocks;
    for (const TarnDataSetBlock& b : c.blocks) {
      if (KivResult r = CheckBlock(b); Failed(r)) return r;
      blocks.push_back(BlockRecord(b));
    }
    std::vector<uint64_t> ids(blocks.size(), id), blockIds;
    return w.AddChannelData(static_cast<uint32_t>(blocks.size()), ids.data(), blocks.data(), &blockIds);
  }

  [[nodiscard]] KivResult WriteEvents() {
    if (data_.events.empty()) return S_OK;
    ComPtr<IKivTarnEventWriter> w;
    KivResult r = Writer(&w);
    if (Failed(r)) return r;
    std::vector<TarnEventRecord> records;
    for (const TarnDataSetEvent& e : data_.events) {
      TarnEventRecord rec{};
      rec.time = e.time;
      rec.name = e.name.c_str();
      rec.source = e.source.c_str();
      rec.message = e.message.c_str();
      rec.payload = e.payload.empty() ? nullptr : e.payload.data();
      rec.payloadSize = static_cast<uint32_t>(e.payload.size());
      rec.fixedData = e.fixedData.data();
      rec.kind = e.kind;
      records.push_back(rec);
    }
    std::vector<uint64_t> ids;
    return w->AddEvents(static_cast<uint32_t>(records.size()), records.data(), &ids);
  }

  [[nodiscard]] KivResult WriteConstants() {
    if (data_.constants.empty()) return S_OK;
    ComPtr<IKivTarnConstantWriter> w;
    KivResult r = Writer(&w);
    if (Failed(r)) return r;
    std::vector<TarnConstantRecord> records;
    for (const TarnDataSetConstant& c : data_.constants)
      records.push_back({0, c.value, c.name.c_str(), c.text ? c.text->c_str() : nullptr, c.unit.c_str()});
    std::vector<uint64_t> ids;
    return w->AddConstants(static_cast<uint32_t>(records.size()), records.data(), &ids);
  }

  [[nodiscard]] KivResult WriteBlobs() {
    if (data_.blobs.empty()) return S_OK;
    ComPtr<IKivTarnBlobWriter> w;
    KivResult r = Writer(&w);
    if (Failed(r)) return r;
    std::vector<TarnBlobRecord> records;
    for (const TarnDataSetBlob& b : data_.blobs) {
      TarnBlobRecord rec{};
      rec.type = &b.type;
      rec.name = b.name.c_str();
      rec.data = b.bytes.empty() ? nullptr : b.bytes.data();
      rec.size = static_cast<uint32_t>(b.bytes.size());
      records.push_back(rec);
    }
    std::vector<uint64_t> ids;
    return w->AddBlobs(static_cast<uint32_t>(records.size()), records.data(), &ids);
  }

  [[nodiscard]] KivResult WriteLapMarkers() {
    if (data_.lapMarkers.empty()) return S_OK;
    ComPtr<IKivTarnLapMarkerWriter> w;
    KivResult r = Writer(&w);
    if (Failed(r)) return r;
    std::vector<TarnLapMarker> records;
    for (const TarnDataSetLapMarker& m : data_.lapMarkers) {
      TarnLapMarker rec{};
      rec.baseTime = m.time;
      rec.distanceOrigin = m.distanceOrigin;
      rec.crossing = m.crossing ? 1 : 0;
      records.push_back(rec);
    }
    std::vector<uint64_t> ids;
    return w->AddRecordedLapMarkers(static_cast<uint32_t>(records.size()), records.data(), &ids);
  }

  const ComPtr<IKivTarnWriteHandle>& handle_;
  const TarnDataSet& data_;
};

// Creates `file` and writes `data` into it, committed and closed.
[[nodiscard]] KivResult WriteNewFile(const fs::path& file, const TarnDataSet& data,
                                     const TarnStoreFactoryMaker& makeFactory) {
  ComPtr<IKivTarnStoreFactory> factory;
  KivResult r = MakeStoreFactory(makeFactory, &factory);
  if (Failed(r)) return r;
  ComPtr<IKivTarnStore> store;
  r = factory->CreateFile(Utf8ToWide(file.string()), IKivTarnStore::iid, store.PutVoid());
  if (Failed(r)) return r;
  ComPtr<IKivTarnWriteAccess> access;
  r = store->QueryInterface(IKivTarnWriteAccess::iid, access.PutVoid());
  ComPtr<IKivTarnWriteHandle> handle;
  if (Succeeded(r)) r = access->GetWriteHandle(kWaitForever, IKivTarnWriteHandle::iid, handle.PutVoid());
  if (Failed(r)) return r;
  r = DataSetWriter(handle, data).Write();
  if (Failed(r)) {
    (void)handle->Abort();
    return r;
  }
  return handle->Commit();
}

}  // namespace

KivResult WriteTarnDataSet(const std::u16string& path, const TarnDataSet& data, const TarnStoreFactoryMaker& makeFactory) {
  if (path.empty()) return STG_E_INVALIDNAME;
  const fs::path target(WideToUtf8(path));
  const fs::path temporary = TemporaryBeside(target);
  KivResult r = WriteNewFile(temporary, data, makeFactory);
  if (Succeeded(r)) {
    std::error_code ec;
    fs::rename(temporary, target, ec);
    if (ec) r = ec == std::errc::permission_denied ? STG_E_ACCESSDENIED : STG_E_WRITEFAULT;
  }
  if (Succeeded(r)) return S_OK;
  RemoveStoreFile(temporary);
  return r;
}

}  // namespace velmar
