// An outing held by a data selection for as long as this lives, as a task's
// selection holds it: the outing's channel factory hands out channels only
// then. The stand-in selection answers [start, end] as its span (range 1 of
// the channels' iterators). Tests of the sources read through it; tests of
// selections use the real one.
#pragma once

#include <gtest/gtest.h>

#include "outing/channels/selection_binding.h"
#include "velmar/data_factory.h"

namespace velmar::testing {

class BoundSelection {
 public:
  template <class Outing>
  explicit BoundSelection(Outing* outing, KivTime start = kTimeMin, KivTime end = kTimeMax)
      : channels_(QueryAs<IKivChannelFactory>(outing)), site_(MakeKiv<Site>(start, end)) {
    EXPECT_TRUE(channels_ && Succeeded(channels_->SetParent(site_.Get()))) << "the outing is held by no other selection";
  }
  ~BoundSelection() {
    ComPtr<IKivUnknown> parent;
    if (channels_ && Succeeded(channels_->GetParent(parent.Put())) && parent.Get() == site_.Get())
      (void)channels_->SetParent(nullptr);
    site_->binding->Cut();
  }
  BoundSelection(const BoundSelection&) = delete;
  BoundSelection& operator=(const BoundSelection&) = delete;

 private:
  struct Site final : KivObject<IKivSelectionBindingSite> {
    Site(KivTime start, KivTime end)
        : binding(MakeKiv<CSelectionBinding>([start, end](KivTime* s, KivTime* e) {
            *s = start;
            *e = end;
            return S_OK;
          })) {}
    KivResult GetSelectionBinding(IKivSelectionRange** out) override {
      return GiveOut(static_cast<IKivSelectionRange*>(binding.Get()), out);
    }
    ComPtr<CSelectionBinding> binding;
  };

  ComPtr<IKivChannelFactory> channels_;
  ComPtr<Site> site_;
};

}  // namespace velmar::testing
