#include "managed/dotnet_channel.h"

#include "managed/block_clipping.h"
#include "outing/blocks/channel_iterator.h"
#include "outing/blocks/data_block_aperiodic.h"
#include "outing/blocks/data_block_section.h"

namespace velmar::managed {
namespace {

KivResult LayBlock(PluginChannel& channel, DotNetBlockInfo& info, DataBlockList* blocks) {
  const auto count = static_cast<size_t>(info.count);
  PluginChannel::SharedValues shared = channel.BlockValues(info.sourceBlock, info.firstIndex, info.count);
  LockedArray<double> values;
  if (shared.data) {
    values = LockedArray<double>::Borrow(std::span<const double>(shared.data, count), std::move(shared.owner));
  } else {
    values = LockedArray<double>::Uninitialized(count);
    double* out = values.Writable().data();
    if (info.periodic) {
      channel.ValuesAtPeriod(info.start, info.interval, info.count, out);
    } else {
      channel.Values(info.times.data(), info.count, out);
    }
  }
  std::shared_ptr<const DataSection> section;
  const KivResult made =
      info.periodic ? DataSection::MakePeriodic(std::move(values), info.start, info.interval, &section)
                    : DataSection::MakeAperiodic(std::move(values),
                                                 LockedArray<KivTime>::FromVector(std::move(info.times)), &section);
  if (Failed(made)) return made;
  ComPtr<IKivDataBlockImplBase> block;
  const auto index = static_cast<uint32_t>(blocks->size());
  if (KivResult r = MakeOutingDataBlock(std::move(section), index, 0, info.join, &block); Failed(r)) return r;
  blocks->push_back(std::move(block));
  return S_OK;
}

}  // namespace

bool CDotNetChannel::Fetch() {
  auto blocks = std::make_shared<DataBlockList>();
  for (DotNetBlockInfo& info : GetDataBlocksBetweenTimes(plugin(), kTimeMin, kTimeMax)) {
    if (Failed(LayBlock(plugin(), info, blocks.get()))) return false;
  }
  blocks_ = std::move(blocks);
  return true;
}

KivResult CDotNetChannel::GetIterator(IKivChannelIterator2** iterator) {
  if (!iterator) return E_POINTER;
  *iterator = nullptr;
  if (KivResult r = Read(); Failed(r)) return r;
  ComPtr<IKivUnknown> owner(static_cast<IKivChannel*>(this));
  ComPtr<IKivChannelIterator2> made = MakeKiv<CChannelIterator>(blocks_, std::move(owner), nullptr);
  *iterator = made.Detach();
  return S_OK;
}

}  // namespace velmar::managed
