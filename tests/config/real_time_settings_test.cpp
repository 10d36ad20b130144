#include "config/real_time_settings.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "support/got.h"
#include "platform/registry/registry_file.h"
#include "support/faulty_file_ops.h"
#include "support/temp_dir.h"
#include "core/stream_values.h"
#include "velmar/registry.h"
#include "velmar/storage.h"

namespace velmar::testing {
namespace {

class RealTimeSettingsTest : public ::testing::Test, public CRealTimeSettingsChanges {
 protected:
  void SetUp() override {
    hive_ = std::make_shared<RegistryFile>(dir_ / "user.json", ops_);
    override_.emplace(RegHive::kCurrentUser, hive_);
    ASSERT_EQ(settings_->SetChangeCallback(this), S_OK);
  }
  void OnRealTimeSettingsChanged() override { ++told_; }
  void StoreU32(const char16_t* name, uint32_t value) {
    RegistryKey key;
    ASSERT_EQ(RegistryKey::Create(hive_, kRealTimeSettingsKey, &key), S_OK);
    ASSERT_EQ(key.SetU32(name, value), S_OK);
  }

  TempDir dir_;
  FaultyFileOps ops_;
  std::shared_ptr<RegistryFile> hive_;
  std::optional<ScopedHiveOverride> override_;
  ComPtr<CRealTimeSettings> settings_ = MakeKiv<CRealTimeSettings>();
  int told_ = 0;
};

TEST_F(RealTimeSettingsTest, SettersCompareFirstAndTellTheRootOfAChange) {
  EXPECT_EQ(Got(settings_, &CRealTimeSettings::GetCacheFolder), std::filesystem::temp_directory_path().u16string())
      << "an empty folder means the temporary one";
  EXPECT_EQ(settings_->SetPort(4567), S_OK);
  EXPECT_EQ(settings_->SetGroupAddress(u"239.1.1.1"), S_OK);
  EXPECT_EQ(told_, 0);
  EXPECT_EQ(settings_->SetPort(5000), S_OK);
  EXPECT_EQ(settings_->SetGroupAddress(u"239.1.1.2"), S_OK);
  EXPECT_EQ(settings_->SetCacheFolder(u"/var/cache/kivara"), S_OK);
  EXPECT_EQ(told_, 3);
  EXPECT_EQ(settings_->SetLinkValueA(0), E_FAIL);
  EXPECT_EQ(settings_->SetSocketValue(0), E_FAIL);
  EXPECT_EQ(settings_->SetGroupAddress(u""), S_OK);
  std::u16string text;
  EXPECT_EQ(settings_->GetGroupAddress(&text), E_FAIL) << "an empty group address can't be given";
  EXPECT_EQ(told_, 4);
}

TEST_F(RealTimeSettingsTest, TheAnyAddressIsAnsweredWithAnAddressOfThisMachine) {
  const std::u16string address = Got(settings_, &CRealTimeSettings::GetInterfaceAddress);
  EXPECT_FALSE(address.empty());
  EXPECT_EQ(ApplyInterfaceAddress(u"0.0.0.0", false), u"0.0.0.0") << "kept unless forced";
  EXPECT_EQ(ApplyInterfaceAddress(address, false), address) << "an address of this machine is kept";
}

TEST_F(RealTimeSettingsTest, RegistryValuesHaveDefaultsAndLimits) {
  EXPECT_EQ(Got(settings_, &CRealTimeSettings::GetFixedCacheSize), KIV_TRUE);
  EXPECT_EQ(Got(settings_, &CRealTimeSettings::GetMaximumCacheSize), 20u);
  EXPECT_EQ(Got(settings_, &CRealTimeSettings::GetReceiveBufferSize), 5u);
  StoreU32(u"MaximumCacheSize", 1);
  StoreU32(u"ReceiveBufferSize", 0);
  StoreU32(u"FixedCacheSize", 0);
  EXPECT_EQ(Got(settings_, &CRealTimeSettings::GetMaximumCacheSize), 20u) << "below 2 reads as 20";
  EXPECT_EQ(Got(settings_, &CRealTimeSettings::GetReceiveBufferSize), 5u);
  EXPECT_EQ(Got(settings_, &CRealTimeSettings::GetFixedCacheSize), KIV_FALSE);
  EXPECT_EQ(settings_->SetMaximumCacheSize(1), E_INVALIDARG);
  EXPECT_EQ(settings_->SetReceiveBufferSize(101), E_INVALIDARG);
  EXPECT_EQ(settings_->SetReceiveBufferSize(0), E_INVALIDARG);
  EXPECT_EQ(told_, 0);
}

TEST_F(RealTimeSettingsTest, RegistrySettersWriteAndTellEvenWhenUnchanged) {
  EXPECT_EQ(settings_->SetMaximumCacheSize(20), S_OK);
  EXPECT_EQ(settings_->SetMaximumCacheSize(20), S_OK);
  EXPECT_EQ(told_, 2);
  EXPECT_EQ(settings_->SetReceiveBufferSize(100), S_OK);
  EXPECT_EQ(Got(settings_, &CRealTimeSettings::GetReceiveBufferSize), 100u);
  ops_.FailAt(FaultyFileOps::Step::kWrite);
  EXPECT_EQ(settings_->SetFixedCacheSize(KIV_FALSE), E_FAIL);
  EXPECT_EQ(told_, 3) << "a failed write tells nobody";
}

// A stream holding `bytes`, read from its start.
ComPtr<IKivStream> NewStream(const std::vector<uint8_t>& bytes = {}) {
  ComPtr<IKivStorage> storage;
  ComPtr<IKivStream> stream;
  EXPECT_EQ(StgCreateMemoryStorage(storage.Put()), S_OK);
  EXPECT_EQ(storage->CreateStream(u"RealTime Settings", STGM_CREATE | STGM_READWRITE, stream.Put()), S_OK);
  if (!bytes.empty()) {
    EXPECT_EQ(WriteStreamBytes(stream.Get(), bytes.data(), uint32_t(bytes.size())), S_OK);
  }
  EXPECT_EQ(stream->Seek(0, STREAM_SEEK_SET, nullptr), S_OK);
  return stream;
}

std::vector<uint8_t> Bytes(IKivStream* stream) {
  uint64_t size = 0;
  EXPECT_EQ(stream->Seek(0, STREAM_SEEK_END, &size), S_OK);
  std::vector<uint8_t> bytes(size);
  EXPECT_EQ(stream->Seek(0, STREAM_SEEK_SET, nullptr), S_OK);
  EXPECT_EQ(ReadStreamBytes(stream, bytes.data(), static_cast<uint32_t>(size)), S_OK);
  EXPECT_EQ(stream->Seek(0, STREAM_SEEK_SET, nullptr), S_OK);
  return bytes;
}

TEST_F(RealTimeSettingsTest, TheStreamHoldsTheHeadThenThreeTextsAndLoadsOnlyWhatIsWhole) {
  ASSERT_EQ(settings_->SetLinkValueA(7), S_OK);
  ASSERT_EQ(settings_->SetPort(0x1234), S_OK);
  ASSERT_EQ(settings_->SetGroupAddress(u"G"), S_OK);
  ASSERT_EQ(settings_->SetCacheFolder(u"/no/such/folder"), S_OK);
  EXPECT_EQ(settings_->IsDirty(), S_OK);
  ComPtr<IKivStream> stream = NewStream();
  ASSERT_EQ(settings_->Save(stream.Get(), KIV_TRUE), S_OK);
  EXPECT_EQ(settings_->IsDirty(), S_FALSE);
  const std::vector<uint8_t> head = {1, 0, 0, 0, 7, 0, 0, 0, 0x88, 0x13, 0, 0, 1, 0, 0, 0, 0x34, 0x12, 0, 0,
                                     4, 0, 0, 0, 'G', 0, 0, 0, 16, 0, 0, 0, '0', 0, '.', 0};
  const std::vector<uint8_t> bytes = Bytes(stream.Get());
  ASSERT_GE(bytes.size(), head.size());
  EXPECT_TRUE(std::equal(head.begin(), head.end(), bytes.begin()));
  EXPECT_EQ(Got(settings_, &CRealTimeSettings::GetSizeMax), bytes.size());

  auto loaded = MakeKiv<CRealTimeSettings>();
  ASSERT_EQ(loaded->Load(stream.Get()), S_OK);
  EXPECT_EQ(Got(loaded, &CRealTimeSettings::GetPort), 0x1234);
  EXPECT_EQ(Got(loaded, &CRealTimeSettings::GetGroupAddress), u"G");
  EXPECT_EQ(Got(loaded, &CRealTimeSettings::GetCacheFolder), std::filesystem::temp_directory_path().u16string())
      << "a folder that is gone loads empty";

  auto partial = MakeKiv<CRealTimeSettings>();
  EXPECT_EQ(partial->Load(NewStream({bytes.begin(), bytes.begin() + 26}).Get()), E_FAIL);
  EXPECT_EQ(Got(partial, &CRealTimeSettings::GetGroupAddress), u"239.1.1.1") << "texts stay when one fails to read";

  std::vector<uint8_t> version2 = bytes;
  version2[0] = 2;
  EXPECT_EQ(partial->Load(NewStream(version2).Get()), E_FAIL);
}

}  // namespace
}  // namespace velmar::testing
