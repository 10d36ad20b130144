// A data selection's host and add-in sources: factories beside the outing's.
#include "tasks/data_selection.h"

namespace velmar {

namespace {

template <class SelectionFactory, class Factory>
KivResult AddTo(SelectionFactory& factory, Factory* source, bool closing) {
  if (!source) return E_POINTER;
  if (closing) return E_FAIL;
  return factory.AddSource(source) ? S_OK : S_FALSE;
}

template <class SelectionFactory, class Factory>
KivResult RemoveFrom(SelectionFactory& factory, Factory* source) {
  if (!source) return E_POINTER;
  if (!factory.HasSource(source)) return S_FALSE;
  factory.RemoveSource(source);
  return S_OK;
}

}  // namespace

KivResult CDataSelection::AddChannelSource(IKivChannelFactory* source) {
  return AddTo(static_cast<CSelectionChannelFactory&>(*this), source, closing_);
}

KivResult CDataSelection::RemoveChannelSource(IKivChannelFactory* source) {
  return RemoveFrom(static_cast<CSelectionChannelFactory&>(*this), source);
}

KivResult CDataSelection::AddEventsSource(IKivEventsFactory* source) {
  return AddTo(static_cast<CSelectionEventsFactory&>(*this), source, closing_);
}

KivResult CDataSelection::RemoveEventsSource(IKivEventsFactory* source) {
  return RemoveFrom(static_cast<CSelectionEventsFactory&>(*this), source);
}

}  // namespace velmar
