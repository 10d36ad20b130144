// A file outing of type `Outing` (on its cache `Cache`) opened through the
// outing factory on the test's own client thread, with listeners and
// commits of write-back steps; every cache is gone when the test ends.
#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "outing/cache/outing_cache_registry.h"
#include "outing/factory/outing_factory.h"
#include "platform/async/dispatcher.h"
#include "platform/async/job_engine.h"
#include "support/outing_listener.h"
#include "support/temp_dir.h"
#include "velmar/outing_factory.h"
#include "velmar/text.h"
#include "velmar/transaction.h"
#include "writeback/transaction_state_machine.h"

namespace velmar::testing {

template <class Outing, class Cache, class Base = ::testing::Test>
class FileOutingTest : public Base {
 protected:
  void TearDown() override {
    listeners_.clear();
    outing_ = nullptr;
    EXPECT_TRUE(Settle());
    EXPECT_EQ(COutingCacheRegistry<Cache>::Instance().size(), 0u);
  }
  bool Settle() { return Async_RunUntilSettled(d_, std::chrono::seconds(60)); }

  // Opens through the factory; `create` makes the file. S_FALSE: the empty
  // outing, of another class.
  KivResult OpenAs(const Guid& type, const std::filesystem::path& path, bool create) {
    auto factory = MakeKiv<COutingFactory>();
    const Variant paths = MakeTextArray({Utf8ToWide(path.string())});
    OutingList outings;
    const KivResult r = factory->CreateEx(ToKivBool(create), KIV_FALSE, type.ToWide(), &paths, &outings);
    if (r == S_OK) outing_ = ComPtr<Outing>(static_cast<Outing*>(outings.front().Get()));
    return r;
  }
  OutingListener& Listen() {
    listeners_.push_back(std::make_unique<OutingListener>(static_cast<IKivOuting*>(outing_.Get())));
    return *listeners_.back();
  }
  // Commits the steps; the lines the outing heard that hold `kind`.
  std::vector<std::string> Commit(std::vector<ComPtr<CWriteBackStateMachineBase>> steps,
                                  std::string_view kind = "Message") {
    OutingListener& heard = Listen();
    auto txn = QueryAs<IKivTransaction>(static_cast<IKivOuting*>(outing_.Get()));
    EXPECT_EQ(txn->Begin(), S_OK);
    for (auto& step : steps) EXPECT_EQ(outing_->cache()->transaction()->AddWriteBackStep(std::move(step)), S_OK);
    EXPECT_EQ(txn->Commit(), S_OK);
    EXPECT_TRUE(Settle());
    std::vector<std::string> lines;
    for (const std::string& line : heard.log) {
      if (line.find(kind) != std::string::npos) lines.push_back(line);
    }
    return lines;
  }

  TempDir dir_;
  Dispatcher d_;
  Dispatcher::ScopedCurrent current_{d_};
  ComPtr<Outing> outing_;
  std::vector<std::unique_ptr<OutingListener>> listeners_;
};

}  // namespace velmar::testing
