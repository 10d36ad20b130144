#include "sources/matfile/matlab_outing_job_item.h"

#include <algorithm>
#include <cstring>
#include <new>

#include "jobs/job_thread.h"
#include "sources/text/large_buffer.h"
#include "sources/text/text_number.h"
#include "velmar/text.h"

namespace velmar {
namespace {

void Widen(KivTime time, KivTime* start, KivTime* end) {
  *start = std::min(*start, time);
  *end = std::max(*end, time);
}

bool Holds(const PropertyList& list, std::u16string_view name) {
  return std::any_of(list.begin(), list.end(), [&](const Property& p) { return p.name == name; });
}

// Adds a property unless one of the name is held: the first stands.
void AddFirst(PropertyList* list, std::u16string_view name, Variant value) {
  if (!Holds(*list, name)) list->push_back({std::u16string(name), std::move(value)});
}

// "System details", then the information variables in file order.
PropertyList ReadInformation(std::string_view bytes) {
  PropertyList list;
  const bool own = bytes.substr(0, kMatOwnMark.size()) == kMatOwnMark;
  list.push_back({u"System details", Variant::Text(std::u16string(own ? kMatOwnDetails : kMatForeignDetails))});
  MatWalk walk(bytes);
  while (std::optional<MatElement> element = NextMatVariable(bytes, walk, false)) {
    std::u16string name, value;
    if (!ReadMatInformationVariable(bytes, *element, &name, &value)) continue;
    if (name == kMatOutingVariable) {
      const std::optional<std::array<int32_t, 3>> numbers = ParseMatOutingText(value);
      if (!numbers) continue;
      for (size_t i = 0; i < numbers->size(); ++i) {
        AddFirst(&list, MatOutingNumberProperties()[i], Variant::I32((*numbers)[i]));
      }
      continue;
    }
    for (const MatInformationName& entry : MatInformationNames()) {
      if (entry.variable == name) AddFirst(&list, entry.property, Variant::Text(std::move(value)));
    }
  }
  return list;
}

// One channel variable: the values copied (the first read scales them in
// place), the times read where they lie when `owner` keeps them there and
// they are aligned for doubles, else copied with the values.
std::shared_ptr<CRawChannelBase> RawChannel(std::span<const char> data, uint32_t rows,
                                            const std::shared_ptr<const void>& owner) {
  const size_t half = data.size() / 2;
  const bool inPlace = owner && reinterpret_cast<uintptr_t>(data.data()) % alignof(double) == 0;
  // Not advised for huge pages: on this platform their zeroing cost more
  // than the faults they saved (measured with bench/mat_bench).
  SampleBuffer buffer = AllocateSamples(inPlace ? rows : 2 * size_t{rows});
  std::memcpy(buffer.get(), data.data() + (inPlace ? half : 0), inPlace ? half : data.size());
  std::shared_ptr<double[]> copy(std::move(buffer));
  std::shared_ptr<const double[]> times =
      inPlace ? std::shared_ptr<const double[]>(owner, reinterpret_cast<const double*>(data.data()))
              : std::shared_ptr<const double[]>(copy, copy.get());
  std::shared_ptr<double[]> values = inPlace ? copy : std::shared_ptr<double[]>(copy, copy.get() + rows);
  auto split = std::make_shared<TimeSplit>(std::move(times), rows);
  // Split here, while the times are at hand, not at the first read on the
  // client thread; a failure is found again there and kept.
  if (split->Plan() == E_OUTOFMEMORY) throw std::bad_alloc();
  std::shared_ptr<CRawChannelBase> raw;
  if (CRawChannelBase::Adopt(std::move(split), std::move(values), rows, &raw) == E_OUTOFMEMORY) {
    throw std::bad_alloc();
  }
  return raw;
}

// Each channel variable in file order; a name met before and a
// variable of no rows are dropped.
void ReadChannels(std::string_view bytes, const std::shared_ptr<const void>& owner, MatlabOutingData* out) {
  MatWalk walk(bytes);
  while (std::optional<MatElement> element = NextMatVariable(bytes, walk, true)) {
    std::u16string name;
    uint32_t rows = 0;
    std::span<const char> data;
    if (!ReadMatChannelVariable(bytes, *element, &name, &rows, &data) || rows == 0) continue;
    if (out->channels.count(name)) continue;
    std::shared_ptr<CRawChannelBase> raw = RawChannel(data, rows, owner);
    for (double seconds : {raw->times().front(), raw->times().back()}) {
      if (std::optional<KivTime> t = SecondsToTicks(seconds)) {
        Widen(*t, &out->channelStart, &out->channelEnd);
        Widen(*t, &out->outingStart, &out->outingEnd);
      }
    }
    out->channels.emplace(std::move(name), std::move(raw));
  }
}

}  // namespace

std::filesystem::path MatFilePath(const std::u16string& path) { return std::filesystem::path(WideToUtf8(path)); }

KivResult ReadMatlabOuting(std::string_view bytes, MatlabOutingData* out, const std::shared_ptr<const void>& owner) {
  *out = MatlabOutingData();
  out->information = ReadInformation(bytes);
  ReadChannels(bytes, owner, out);
  return out->channels.empty() ? S_FALSE : S_OK;
}

// --- Load job ---------------------------------------------------------------

CMatlabOutingJobItem::CMatlabOutingJobItem(CStateMachineEx* owner, const std::u16string& path, TextFileOps* ops)
    : CJobItemEx(owner), path_(MatFilePath(path)), ops_(ops ? *ops : DefaultTextFileOps()) {}

KivResult CMatlabOutingJobItem::Run() {
  data_ = {};
  CMatlabFileHandles file(path_, ops_);
  loadStatus_ = file.Open(false);
  if (!loadStatus_.ok()) return loadStatus_.code() == TextCode::kOutOfMemory ? E_OUTOFMEMORY : E_FAIL;
  KivResult r = S_OK;
  try {
    r = ReadMatlabOuting(file.bytes(), &data_, file.bytes_owner());
  } catch (const std::bad_alloc&) {
    data_ = {};
    loadStatus_ = {TextCode::kOutOfMemory, "no memory for the data set"};
    return E_OUTOFMEMORY;
  }
  // A file cut under the read gave zeros for what it lost: nothing of it stands.
  loadStatus_ = file.Intact();
  file.Close();
  if (!loadStatus_.ok()) {
    data_ = {};
    return E_FAIL;
  }
  return r;
}

// --- Create job -------------------------------------------------------------

CMatlabCreateJobItem::CMatlabCreateJobItem(CStateMachineEx* owner, const std::u16string& path, TextFileOps* ops)
    : CJobItemEx(owner), path_(MatFilePath(path)), ops_(ops ? *ops : DefaultTextFileOps()) {}

KivResult CMatlabCreateJobItem::Run() { return CMatlabFileHandles::Create(path_, ops_).ok() ? S_OK : E_FAIL; }

AsyncThread MatlabSource::Thread() { return MatlabThread(); }

}  // namespace velmar
