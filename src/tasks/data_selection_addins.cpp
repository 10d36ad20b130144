// A data selection's data factory add-ins: the root's active list joined as
// sources after the outing's factories, in the list's order.
#include "tasks/data_selection.h"
#include "velmar/selection_data_factory.h"

namespace velmar {

bool CDataSelection::MakeAddin(IKivUnknown* root, AddinSource* out) {
  AddinSource made;
  made.root = root;
  made.instance = root;
  if (auto maker = QueryAs<IKivSelectionDataFactoryMaker>(root)) {
    made.channelInputs = MakeKiv<CSelectionInputs<CSelectionChannelFactory>>(this);
    made.eventInputs = MakeKiv<CSelectionInputs<CSelectionEventsFactory>>(this);
    made.instance = nullptr;
    if (Failed(maker->CreateForSelection(PrimaryUnknown(), made.channelInputs.Get(), made.eventInputs.Get(),
                                         made.instance.Put())) ||
        !made.instance)
      return false;
  }
  made.channels = QueryAs<IKivChannelFactory>(made.instance.Get());
  made.events = QueryAs<IKivEventsFactory>(made.instance.Get());
  made.media = QueryAs<IKivMediaChannelFactory>(made.instance.Get());
  if (made.channelInputs) made.channelInputs->SetStop(made.channels.Get());
  if (made.eventInputs) made.eventInputs->SetStop(made.events.Get());
  *out = std::move(made);
  return true;
}

void CDataSelection::JoinAddin(const AddinSource& addin) {
  if (addin.channels) CSelectionChannelFactory::AddSource(addin.channels.Get());
  if (addin.events) CSelectionEventsFactory::AddSource(addin.events.Get());
  if (addin.media) CSelectionMediaFactory::AddSource(addin.media.Get());
}

void CDataSelection::LeaveAddin(const AddinSource& addin) {
  if (addin.media) CSelectionMediaFactory::RemoveSource(addin.media.Get());
  if (addin.events) CSelectionEventsFactory::RemoveSource(addin.events.Get());
  if (addin.channels) CSelectionChannelFactory::RemoveSource(addin.channels.Get());
}

// The add-ins from `from` on leave, the last first, so that none is left
// reading one that has gone. Their inputs stay good: one may join again.
void CDataSelection::LeaveAddins(size_t from) {
  while (addins_.size() > from) {
    AddinSource gone = std::move(addins_.back());
    addins_.pop_back();
    LeaveAddin(gone);
  }
}

void CDataSelection::ForgetAddin(const AddinSource& addin) {
  if (addin.channelInputs) addin.channelInputs->Forget();
  if (addin.eventInputs) addin.eventInputs->Forget();
}

void CDataSelection::SetDataFactories(const ActiveDataFactories& factories) {
  if (closing_) return;
  ComPtr<IKivUnknown> keep(PrimaryUnknown());
  // The add-ins that keep their place stay as they are; from the first that
  // differs on, the old ones leave and the wanted ones join in order, so
  // each reads only those ahead of it. One that stays keeps its instance.
  size_t same = 0;
  while (same < addins_.size() && same < factories.size() && addins_[same].root == factories[same].factory) ++same;
  if (same == addins_.size() && same == factories.size()) return;
  std::vector<AddinSource> kept(addins_.begin() + static_cast<std::ptrdiff_t>(same), addins_.end());
  LeaveAddins(same);
  for (size_t i = same; i < factories.size(); ++i) {
    IKivUnknown* root = factories[i].factory.Get();
    if (!root) continue;
    auto old = std::find_if(kept.begin(), kept.end(), [&](const AddinSource& a) { return a.root.Get() == root; });
    AddinSource addin;
    if (old != kept.end()) {
      addin = std::move(*old);
      kept.erase(old);
    } else if (!MakeAddin(root, &addin)) {
      continue;
    }
    addins_.push_back(addin);
    JoinAddin(addin);
  }
  for (const AddinSource& gone : kept) ForgetAddin(gone);
}

void CDataSelection::InputsMoved(IKivDataFactory* later) {
  if (closing_) return;
  for (const AddinSource& addin : addins_) {
    const bool match = (addin.channels && static_cast<IKivDataFactory*>(addin.channels.Get()) == later) ||
                       (addin.events && static_cast<IKivDataFactory*>(addin.events.Get()) == later) ||
                       (addin.media && static_cast<IKivDataFactory*>(addin.media.Get()) == later);
    if (!match) continue;
    if (auto sink = QueryAs<IKivSelectionInputsSink>(addin.instance.Get())) (void)sink->OnInputsChanged();
    return;
  }
}

}  // namespace velmar
