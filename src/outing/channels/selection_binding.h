// How an outing's data factories learn that a data selection holds the
// outing. The selection is the factory's parent (it calls SetParent when it
// takes the factory as a source) and offers IKivSelectionBindingSite; the
// binding it gives answers the selection's time span, which limits the
// range-1 searches of the channels' iterators. An outing's channel factory
// hands out no channel without a binding: a client reads through a
// selection, not the outing.
//
// Channels hold the binding, not the selection: the selection holds the
// outing, so a counted reference back to it would be a cycle. The selection
// cuts its binding when it closes; a cut binding answers E_FAIL.
//
// Client thread only.
#pragma once

#include <functional>

#include "outing/blocks/channel_iterator.h"

namespace velmar {

struct IKivSelectionBindingSite : IKivUnknown {
  static constexpr Guid iid = Guid::Literal("{3C1A6E52-0F47-4B8D-9E2B-7D45A1C0B6F3}");
  // The binding this selection holds on the outings it is bound to,
  // reference added.
  virtual KivResult GetSelectionBinding(IKivSelectionRange** binding) = 0;
};

// The binding of a factory's parent; null when the parent is no selection.
ComPtr<IKivSelectionRange> SelectionBindingOf(IKivUnknown* parent);

class CSelectionBinding final : public KivObject<IKivSelectionRange> {
 public:
  using Range = std::function<KivResult(KivTime* start, KivTime* end)>;
  explicit CSelectionBinding(Range range) : range_(std::move(range)) {}

  KivResult GetSelectionRange(KivTime* start, KivTime* end) override;
  // The selection goes: the binding answers E_FAIL from now on.
  void Cut() { range_ = nullptr; }

 private:
  Range range_;
};

}  // namespace velmar
