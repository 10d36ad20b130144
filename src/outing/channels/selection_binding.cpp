#include "outing/channels/selection_binding.h"

namespace velmar {

ComPtr<IKivSelectionRange> SelectionBindingOf(IKivUnknown* parent) {
  auto site = QueryAs<IKivSelectionBindingSite>(parent);
  ComPtr<IKivSelectionRange> binding;
  if (!site || Failed(site->GetSelectionBinding(binding.Put()))) return nullptr;
  return binding;
}

KivResult CSelectionBinding::GetSelectionRange(KivTime* start, KivTime* end) {
  if (!start || !end) return E_POINTER;
  return range_ ? range_(start, end) : E_FAIL;
}

}  // namespace velmar
