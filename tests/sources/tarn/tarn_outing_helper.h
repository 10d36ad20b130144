// Shared set-up for the tests of the `.trn` outing object and its facets:
// an outing opened on a file, with a listener on its notifications, and
// edits committed in its transaction.
#pragma once

#include <initializer_list>
#include <memory>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

#include "support/outing_listener.h"
#include "sources/tarn/tarn_outing.h"
#include "tarn_test_helper.h"
#include "velmar/transaction.h"
#include "writeback/transaction_state_machine.h"

namespace velmar::testing {

inline constexpr Guid kTarnType = Guid::Literal("{1F0C8D74-5A4B-4E8A-9B21-3C6A7D1E2F90}");

// An outing on `path` with a cache of its own making, or the one open there.
ComPtr<CTarnOuting> OpenTarnOuting(const std::u16string& path,
                                   const TarnStoreFactoryMaker& maker = DefaultTarnStoreFactoryMaker());

// The facet `I` of an outing other than the test's own.
template <class I>
ComPtr<I> Face(CTarnOuting* outing) {
  return QueryAs<I>(static_cast<IKivOuting*>(outing));
}

// The lines of `log` that start with one of `prefixes`.
Lines LinesStarting(const Lines& log, std::initializer_list<std::string_view> prefixes);

class TarnOutingTest : public TarnTest {
 protected:
  void TearDown() override {
    listener_.reset();
    outing_ = nullptr;
    TarnTest::TearDown();
  }
  ComPtr<CTarnOuting> Open(const std::u16string& path) { return OpenTarnOuting(path, makeFactory_); }
  void OpenListened(const std::u16string& path) {
    outing_ = Open(path);
    listener_ = std::make_unique<OutingListener>(static_cast<IKivOuting*>(outing_.Get()));
    ASSERT_TRUE(listener_->connected());
  }
  // Close lets the outing go and runs its close jobs (a test that holds
  // facets lets them go in its own Close); Reopen opens `path_` afresh.
  virtual void Close() {
    listener_.reset();
    outing_ = nullptr;
    EXPECT_TRUE(Settle());
  }
  void Reopen() {
    Close();
    OpenListened(path_);
  }
  template <class I>
  ComPtr<I> Facet() {
    ComPtr<I> facet;
    EXPECT_EQ(outing_.As(&facet), S_OK);
    return facet;
  }
  // The facet `F` once its list is in; the names it then gives in `names`.
  template <class F>
  ComPtr<F> Listed(NameList* names = nullptr) {
    auto facet = Facet<F>();
    NameList first;
    EXPECT_EQ(facet->GetNames(&first), S_OK);
    EXPECT_TRUE(Settle());
    if (names) {
      EXPECT_EQ(facet->GetNames(names), S_OK);
    }
    return facet;
  }
  // Runs `edit` (its code, if it gives one, S_OK) in one transaction; the
  // lines the outing heard in it that start with one of `prefixes`.
  template <class Edit>
  Lines Commit(Edit edit, std::initializer_list<std::string_view> prefixes = {"Transaction"}) {
    auto txn = Facet<IKivTransaction>();
    listener_->log.clear();
    EXPECT_EQ(txn->Begin(), S_OK);
    if constexpr (std::is_void_v<decltype(edit())>) {
      edit();
    } else {
      EXPECT_EQ(edit(), S_OK);
    }
    EXPECT_EQ(txn->Commit(), S_OK);
    EXPECT_TRUE(Settle());
    return LinesStarting(listener_->log, prefixes);
  }
  // The same for one write-back step.
  Lines CommitStep(ComPtr<CWriteBackStateMachineBase> step,
                   std::initializer_list<std::string_view> prefixes = {"TransactionMessage"}) {
    return Commit([&] { return outing_->cache()->transaction()->AddWriteBackStep(std::move(step)); }, prefixes);
  }

  TarnStoreFactoryMaker makeFactory_ = DefaultTarnStoreFactoryMaker();
  std::u16string path_;
  ComPtr<CTarnOuting> outing_;
  std::unique_ptr<OutingListener> listener_;
};

}  // namespace velmar::testing
