#include "sources/matfile/matlab_channel_write.h"

#include <algorithm>
#include <new>
#include <vector>

#include "sources/matfile/matlab_outing.h"
#include "sources/text/ascii_channel_write.h"
#include "velmar/text.h"

namespace velmar {
namespace {

// An item's blocks as one run of times and one of values.
bool Gather(const CExportChannel& item, std::vector<KivTime>* times, std::vector<double>* values) {
  size_t total = 0;
  for (const auto& block : item.blocks()) {
    std::span<const KivTime> t;
    if (Failed(block->TimesArray(&t))) return false;
    total += t.size();
  }
  times->reserve(total);
  values->reserve(total);
  for (const auto& block : item.blocks()) {
    std::span<const KivTime> t;
    std::span<const double> v;
    if (Failed(block->TimesArray(&t)) || Failed(block->ValuesArray(false, &v)) || t.size() != v.size()) return false;
    times->insert(times->end(), t.begin(), t.end());
    values->insert(values->end(), v.begin(), v.end());
  }
  return true;
}

}  // namespace

bool CMatlabWriteBackChannelJobItem::Validate() {
  if (!access() || !access()->handles().IsOpen()) return false;
  const std::vector<std::u16string> stored = access()->handles().ChannelNames();
  return std::none_of(items().begin(), items().end(), [&](const std::unique_ptr<CExportChannel>& item) {
    const std::u16string name = AnsiToWide(MatChannelName(TextColumnName(*item)));
    return std::find(stored.begin(), stored.end(), name) != stored.end();
  });
}

KivResult CMatlabWriteBackChannelJobItem::Write() {
  CMatlabFileHandles& file = access()->handles();
  for (const auto& item : items()) {
    std::vector<KivTime> times;
    std::vector<double> values;
    try {
      if (!Gather(*item, &times, &values)) return E_FAIL;
    } catch (const std::bad_alloc&) {
      return E_FAIL;
    }
    // Values are in the destination's unit already: the items scaled them.
    if (!file.WriteChannel({TextColumnName(*item), times, values}).ok()) return E_FAIL;
  }
  return S_OK;
}

KivResult CMatlabOuting::WriteRequest(const WriteChannelsRequest& request) {
  OutingWriterCache<CMatlabOutingCache, CMatlabWriteBackChannelStateMachine> answers(
      cache(), channels().AsDataFactory(), cache()->write_back(),
      [](CMatlabOutingCache& c, const std::u16string& name) {
        const NameList names = c.ChannelNames();
        return std::find(names.begin(), names.end(), AnsiToWide(MatChannelName(name))) != names.end();
      });
  return velmar::WriteChannels(answers, request);
}

}  // namespace velmar
