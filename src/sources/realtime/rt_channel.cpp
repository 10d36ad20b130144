#include "sources/realtime/rt_channel.h"

#include "outing/channels/selection_binding.h"

namespace velmar {

namespace {

// A held block as a section the channel's data blocks reference.
KivResult Section(const RtHeldBlock& held, ChannelSection* section) {
  LockedArray<double> values = LockedArray<double>::Copy(held.values);
  section->continuous = held.continuous;
  return held.periodic ? DataSection::MakePeriodic(std::move(values), held.firstTime, held.period, &section->data)
                       : DataSection::MakeAperiodic(std::move(values), LockedArray<KivTime>::Copy(held.times),
                                                    &section->data);
}

}  // namespace

void CRTChannel::Bind(std::u16string name, CChannelKey key, ComPtr<IKivUnknown> binding, CRTOutingCore* core) {
  core_ = core;
  BindChannel(std::move(name), std::move(key), std::move(binding));
}

KivResult CRTChannel::PrepareBlocks() {
  if (!core_) return E_FAIL;
  const RtBlockList* blocks = nullptr;
  const KivResult r = core_->ReadChannel(name(), &blocks);
  if (r != S_OK) return r;
  ChannelSections sections(blocks->blocks().size());
  for (size_t i = 0; i < sections.size(); ++i) {
    if (const KivResult s = Section(blocks->blocks()[i], &sections[i]); Failed(s)) return s;
  }
  return MakeBlocks(sections, BlockContinuity::kFromSection);
}

void CRTChannel::OnLiveData(KivTime from, KivTime to) {
  ComPtr<IKivUnknown> keep(PrimaryUnknown());
  DropBlocks();
  SetStatusRange(DataStatus::kAvailable, from, to);
}

void CRTChannel::OnStatusChanged(DataStatus status, KivTime from, KivTime to) {
  if (status == DataStatus::kUnknown) DropBlocks();
  IKivChannelImpl::OnStatusChanged(status, from, to);
}

KivResult CRTOutingChannelFactory::GetItem(const std::u16string& name, IKivChannel** channel) {
  if (!channel) return E_POINTER;
  *channel = nullptr;
  if (!listed()) FillNames();
  auto it = items().find(name);
  if (it == items().end()) return E_FAIL;  // nothing connected, or a name not known
  const ComPtr<IKivSelectionRange> binding = SelectionBindingOf(parent());
  const bool bound = binding != nullptr;
  const KivResult r = table_.Get(name, true, bound, [&](const std::u16string& n, ComPtr<CRTChannel>* made) {
    CChannelKey key;
    if (!CChannelKey::Parse(n, &key)) key = CChannelKey(n, 0);
    auto created = MakeKiv<CRTChannel>();
    created->Bind(n, key, binding, &LiveCore());
    *made = std::move(created);
    return S_OK;
  }, channel);
  if (Succeeded(r)) it->second = *channel;
  return r;
}

NameList CRTOutingChannelFactory::RemoveChannels(const NameList& names) { return RemoveItems(names); }

void CRTOutingChannelFactory::OnLiveData(const std::u16string& name, KivTime from, KivTime to) {
  if (CRTChannel* channel = table_.Find(name)) channel->OnLiveData(from, to);
}

void CRTOutingChannelFactory::FillNames() { (void)AddNames(LiveCore().ChannelNames()); }

void CRTOutingChannelFactory::DropItem(const std::u16string& name, IKivChannel*&) { (void)table_.Drop(name); }

}  // namespace velmar
