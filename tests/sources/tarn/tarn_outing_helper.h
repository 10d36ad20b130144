// Shared set-up for the tests of the `.trn` outing object and its facets:
// an outing opened on a file, with a listener on its notifications.
#pragma once

#include <memory>
#include <string>

#include "support/outing_listener.h"
#include "sources/tarn/tarn_outing.h"
#include "tarn_test_helper.h"

namespace velmar::testing {

inline constexpr Guid kTarnType = Guid::Literal("{1F0C8D74-5A4B-4E8A-9B21-3C6A7D1E2F90}");

class TarnOutingTest : public TarnTest {
 protected:
  void TearDown() override {
    listener_.reset();
    outing_ = nullptr;
    TarnTest::TearDown();
  }
  ComPtr<CTarnOuting> Open(const std::u16string& path) {
    ComPtr<CTarnOuting> outing;
    EXPECT_EQ(OpenOutingOnCache<CTarnOuting>(
                  path, false, [&] { return MakeKiv<CTarnOutingCache>(path, kTarnType); }, &outing),
              S_OK);
    return outing;
  }
  void OpenListened(const std::u16string& path) {
    outing_ = Open(path);
    listener_ = std::make_unique<OutingListener>(static_cast<IKivOuting*>(outing_.Get()));
    ASSERT_TRUE(listener_->connected());
  }
  template <class I>
  ComPtr<I> Facet() {
    ComPtr<I> facet;
    EXPECT_EQ(outing_.As(&facet), S_OK);
    return facet;
  }

  ComPtr<CTarnOuting> outing_;
  std::unique_ptr<OutingListener> listener_;
};

}  // namespace velmar::testing
