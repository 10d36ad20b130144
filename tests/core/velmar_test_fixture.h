// A root made over the stand-in parts, with the user's registry in a
// temporary file that a test can make fail, and receivers that log every
// root notification.
#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "core/velmar.h"
#include "core/velmar_test_parts.h"
#include "platform/registry/registry_file.h"
#include "support/faulty_file_ops.h"
#include "support/temp_dir.h"

namespace velmar::testing {

// Logs each root notification as tag + name into a vector.
class RootLog : public CVelmarNotificationsReceiverImpl {
 public:
  RootLog(std::vector<std::string>* log, std::string tag) : log_(log), tag_(std::move(tag)) {}
#define VELMAR_TEST_LOG(Name, Params, Args) \
  void Name Params override {               \
    notification_detail::Ignore Args;       \
    log_->push_back(tag_ + #Name);          \
  }
  KIV_VELMAR_NOTIFICATIONS_1(VELMAR_TEST_LOG)
  KIV_VELMAR_NOTIFICATIONS_2(VELMAR_TEST_LOG)
  KIV_VELMAR_NOTIFICATIONS_3(VELMAR_TEST_LOG)
  KIV_VELMAR_NOTIFICATIONS_4(VELMAR_TEST_LOG)
  KIV_VELMAR_NOTIFICATIONS_5(VELMAR_TEST_LOG)
  KIV_VELMAR_NOTIFICATIONS_6(VELMAR_TEST_LOG)
  KIV_VELMAR_NOTIFICATIONS_7(VELMAR_TEST_LOG)
#undef VELMAR_TEST_LOG

 private:
  std::vector<std::string>* log_;
  std::string tag_;
};

class VelmarTestBase : public ::testing::Test {
 protected:
  static void SetUpTestSuite() { RegisterTestParts(); }

  void SetUp() override {
    hive_ = std::make_shared<RegistryFile>(dir_ / "user.json", ops_);
    override_.emplace(RegHive::kCurrentUser, hive_);
    PartLog().clear();
    ASSERT_EQ(CVelmar::Create(&root_), S_OK);
  }

  void TearDown() override {
    for (auto& hook : hooks_) hook->run = [] {};  // what it ran belonged to the test body
    sinks_.clear();
    if (root_) (void)root_->Close();
    root_ = nullptr;
    override_.reset();
    EXPECT_EQ(CVelmarObjGlobalStateChanges::Process().RootCount(), 0u) << "a root was left in the fan-out";
    EXPECT_EQ(LiveVelmarRootCount(), 0u) << "a root was not destroyed";
  }

  // Connects a sink of generation Sink to `root` that logs into log_ under `tag`.
  template <class Sink>
  void Listen(const std::string& tag, IKivVelmar* root = nullptr) {
    receivers_.push_back(std::make_unique<RootLog>(&log_, tag));
    auto sink = MakeKiv<Sink>();
    sink->SetReceiver(receivers_.back().get());
    ASSERT_TRUE(sink->Connect(root ? root : Root()));
    sinks_.push_back(ComPtr<IKivUnknown>(sink->PrimaryUnknown()));
  }

  // Connects a sink to the root that runs `run` when it hears Closing.
  ComPtr<CVelmarNotificationsSink<>> HookClosing(std::function<void()> run) {
    hooks_.push_back(std::make_unique<ClosingHook>());
    hooks_.back()->run = std::move(run);
    auto sink = MakeKiv<CVelmarNotificationsSink<>>();
    sink->SetReceiver(hooks_.back().get());
    EXPECT_TRUE(sink->Connect(Root()));
    return sink;
  }

  IKivVelmar8* Root() const { return root_.Get(); }

  // Whether `change` leaves the root with unsaved changes, starting from none.
  bool MarksDirty(std::function<void()> change) { root_->ClearDirty(); change(); return root_->HasUnsavedChanges(); }

  // Writes a display setting straight into the user's registry file.
  void Store(const char16_t* name, uint32_t value) {
    RegistryKey key;
    ASSERT_EQ(RegistryKey::Create(hive_, kVelmarUserKey, &key), S_OK);
    ASSERT_EQ(key.SetU32(name, value), S_OK);
  }
  // What the registry file holds, read afresh; nothing when absent.
  std::optional<uint32_t> Stored(const char16_t* name) {
    RegistryKey key;
    uint32_t value = 0;
    auto file = std::make_shared<RegistryFile>(dir_ / "user.json");
    if (Failed(RegistryKey::Open(file, kVelmarUserKey, &key)) || Failed(key.QueryU32(name, &value))) {
      return std::nullopt;
    }
    return value;
  }

  TempDir dir_;
  FaultyFileOps ops_;
  std::shared_ptr<RegistryFile> hive_;
  std::optional<ScopedHiveOverride> override_;
  std::vector<std::string> log_;
  std::vector<std::unique_ptr<RootLog>> receivers_;
  std::vector<ComPtr<IKivUnknown>> sinks_;
  struct ClosingHook : CVelmarNotificationsReceiver {
    std::function<void()> run;
    void Closing(IKivVelmar*) override { run(); }
  };
  std::vector<std::unique_ptr<ClosingHook>> hooks_;
  ComPtr<CVelmar> root_;
};

}  // namespace velmar::testing
