#include <gtest/gtest.h>

#include <string>

#include "platform/store/fault_vfs.h"
#include "support/fixtures.h"
#include "tarn_outing_helper.h"
#include "velmar/blob_writer.h"
#include "velmar/constants.h"

namespace velmar::testing {
namespace {

class TarnEditTest : public TarnOutingTest {
 protected:
  void SetUp() override {
    path_ = Write(SampleDataSet());
    Reopen();
  }
  // A fresh outing on a fresh cache, its information, laps and constants read.
  void Reopen() {
    TarnOutingTest::Reopen();
    (void)Information();
    (void)ConstantNames();
    ASSERT_TRUE(Settle());
    listener_->log.clear();
  }
  ComPtr<IKivPropertySet> Information() {
    ComPtr<IKivPropertySet> info;
    (void)outing_->GetOutingInformation(info.Put());
    return info;
  }
  Variant Property(const std::u16string& name) {
    Variant v;
    EXPECT_EQ(Information()->GetProperty(name, &v), S_OK) << WideToUtf8(name);
    return v;
  }
  NameList ConstantNames() {
    NameList names;
    (void)Facet<IKivConstantFactory2>()->GetNames(&names);
    return names;
  }
  NameList BlobNames() {
    NameList names;
    (void)Listed<IKivBlobFactory>(&names);
    return names;
  }
  std::vector<uint32_t> LapNumbers() {
    auto markers = Facet<IKivLapMarkers>();
    uint32_t count = 0;
    EXPECT_EQ(markers->GetLapMarkerCount(&count), S_OK);
    std::vector<uint32_t> numbers(count);
    for (uint32_t i = 0; i < count; ++i) EXPECT_EQ(markers->GetLapMarkerNumber(i + 1, &numbers[i]), S_OK);
    return numbers;
  }
  // Runs `edit` in one transaction; the messages it sent.
  template <class Edit>
  Lines Messages(Edit edit) {
    Lines messages = Commit(edit, {"TransactionMessage:"});
    for (std::string& line : messages) line.erase(0, std::string_view("TransactionMessage:").size());
    return messages;
  }
};

std::u16string NameOf(const nlohmann::json& c) {
  if (c.contains("length")) return std::u16string(c["length"].get<size_t>(), u'n');
  return Utf8ToWide(c["name"].get<std::string>());
}

Variant ValueOf(const nlohmann::json& v) {
  if (v.contains("length")) return Variant::Text(std::u16string(v["length"].get<size_t>(), u't'));
  if (v.contains("text")) return Variant::Text(Utf8ToWide(v["text"].get<std::string>()));
  return Variant::F64(v["f64"].get<double>());
}

TEST_F(TarnEditTest, EachCallGivesItsCodeAndARefusalQueuesNothing) {
  for (const auto table = Fixture("sources/tarn_edit_calls.json"); const auto& c : table["cases"]) {
    if (c.value("listed", false)) (void)BlobNames();
    auto txn = Facet<IKivTransaction>();
    ASSERT_EQ(txn->Begin(), S_OK);
    const std::string call = c["call"];
    const std::u16string name = NameOf(c);
    KivResult r = E_UNEXPECTED;
    if (call == "AddConstant") r = Facet<IKivConstantFactory2>()->AddConstant(name, c["kind"].get<uint32_t>());
    if (call == "RemoveConstant") r = Facet<IKivConstantFactory2>()->RemoveConstant(name);
    if (call == "AddBlob") r = Facet<IKivBlobWriter>()->AddBlob(name, Utf8ToWide(c["type"].get<std::string>()));
    if (call == "ModifyBlob") r = Facet<IKivBlobWriter>()->ModifyBlob(name, {1, 2});
    if (call == "RemoveBlob") r = Facet<IKivBlobWriter>()->RemoveBlob(name);
    if (call == "SetProperty") r = Information()->SetProperty(name, ValueOf(c["value"]));
    EXPECT_EQ(r, static_cast<KivResult>(std::stoul(c["result"].get<std::string>(), nullptr, 16))) << c;
    EXPECT_EQ(outing_->cache()->transaction()->pending_count(), Succeeded(r) ? 1u : 0u) << c;
    ASSERT_EQ(txn->Rollback(), S_OK);
    txn = nullptr;
    if (c.value("listed", false)) Reopen();
  }
}

TEST_F(TarnEditTest, ConstantsRoundTripAndTheSecondOfTwoAddsIsADuplicate) {
  auto factory = Facet<IKivConstantFactory2>();
  EXPECT_EQ(Messages([&] {
              EXPECT_EQ(factory->AddConstant(u"Toe", kSimpleConstant), S_OK);
              EXPECT_EQ(factory->AddConstant(u"Toe", kSimpleConstant), S_OK) << "not in the list until the reload";
              EXPECT_EQ(factory->RemoveConstant(u"Wheelbase"), S_OK);
            }),
            Lines{"Failed to add constant \"Toe\" -  duplicate constant found"});
  EXPECT_EQ(ConstantNames(), (NameList{u"Setup", u"Toe"})) << "the list was read again";

  // Two writers on one constant in one transaction: one step, with the first one's values.
  ComPtr<IKivConstant> toe;
  ASSERT_EQ(factory->GetItem(u"Toe", toe.Put()), S_OK);
  EXPECT_EQ(Messages([&] {
              for (double value : {1.5, 2.5}) {
                ComPtr<IKivSimpleConstantWriter> writer;
                ASSERT_EQ(QueryAs<IKivSimpleConstant>(toe.Get())->GetWriter(writer.Put()), S_OK);
                EXPECT_EQ(writer->SetValue(value), S_OK);
                EXPECT_EQ(writer->SetUnit(u"deg"), S_OK);
              }
              EXPECT_EQ(outing_->cache()->transaction()->pending_count(), 1u);
            }),
            Lines{});
  toe = nullptr;
  factory = nullptr;
  Reopen();
  EXPECT_EQ(ConstantNames(), (NameList{u"Setup", u"Toe"}));
  ComPtr<IKivConstant> fresh;
  ASSERT_EQ(Facet<IKivConstantFactory2>()->GetItem(u"Toe", fresh.Put()), S_OK);
  double value = 0;
  std::u16string unit;
  EXPECT_EQ(fresh->GetValue(&value), S_OK);
  EXPECT_EQ(QueryAs<IKivSimpleConstant>(fresh.Get())->GetUnit(&unit), S_OK);
  EXPECT_EQ(value, 1.5);
  EXPECT_EQ(unit, u"deg");
}

TEST_F(TarnEditTest, BlobsRoundTripAndADuplicateBeforeTheListFailsAtTheJob) {
  auto writer = Facet<IKivBlobWriter>();
  const std::u16string type = u"{6B1A3C55-30D6-4B8E-9E43-5E2D7D0C2B11}";
  EXPECT_EQ(Messages([&] {
              EXPECT_EQ(writer->AddBlob(u"Map", type), S_OK);
              EXPECT_EQ(writer->AddBlob(u"Sheet", type), S_OK);
              EXPECT_EQ(writer->ModifyBlob(u"Sheet", {9, 8, 7}), S_OK);
              EXPECT_EQ(writer->RemoveBlob(u"Nothing"), S_OK);
            }),
            (Lines{"Failed to add blob \"Map\" - duplicate blob found",
                   "Failed to remove blob \"Nothing\" - blob not found"}));
  writer = nullptr;
  Reopen();
  EXPECT_EQ(BlobNames(), (NameList{u"Map", u"Sheet"}));
  ComPtr<IKivBlob> sheet;
  ASSERT_EQ(Facet<IKivBlobFactory>()->GetItem(u"Sheet", sheet.Put()), S_OK);
  std::vector<uint8_t> bytes;
  (void)sheet->GetData(&bytes);
  ASSERT_TRUE(Settle());
  EXPECT_EQ(sheet->GetData(&bytes), S_OK);
  EXPECT_EQ(bytes, (std::vector<uint8_t>{9, 8, 7}));
}

TEST_F(TarnEditTest, InformationRoundTripsAndAFirstLapRenumbersTheLaps) {
  EXPECT_EQ(LapNumbers(), (std::vector<uint32_t>{1, 2, 3}));
  EXPECT_EQ(Information()->SetProperties({}), E_FAIL);
  EXPECT_EQ(Messages([&] {
              EXPECT_EQ(Information()->SetProperties({{u"Driver name", Variant::Text(u"B. Driver")},
                                                      {u"GUID", Variant::Text(u"{x}")},
                                                      {u"Engine test", Variant::Bool(true)},
                                                      {u"First lap number", Variant::I32(5)}}),
                        S_OK);
            }),
            Lines{});
  EXPECT_NE(std::find(listener_->log.begin(), listener_->log.end(), "InformationChanged"), listener_->log.end());
  EXPECT_EQ(LapNumbers(), (std::vector<uint32_t>{5, 6, 7})) << "the attached outing sees the renumbering";
  Reopen();
  EXPECT_EQ(Property(u"Driver name"), Variant::Text(u"B. Driver"));
  EXPECT_EQ(Property(u"First lap number"), Variant::U32(5));
  EXPECT_EQ(Property(u"Engine test"), Variant::Bool(true));
  EXPECT_EQ(Information()->GetProperty(u"GUID", nullptr), E_POINTER);
  EXPECT_EQ(LapNumbers(), (std::vector<uint32_t>{5, 6, 7}));
}

TEST_F(TarnEditTest, ADiskFailingInTheCommitLeavesTheDetailsAsBeforeAndSaysSo) {
  makeFactory_ = FaultyStoreMaker();
  bool sawSuccess = false;
  for (int64_t okCalls = 0; okCalls < 64 && !sawSuccess; ++okCalls) {
    SCOPED_TRACE("writes let through: " + std::to_string(okCalls));
    Close();
    path_ = Write(SampleDataSet(), "round" + std::to_string(okCalls) + ".trn");
    Reopen();
    store::FaultVfs::Get().FailAfter(okCalls);
    const Lines messages = Messages([&] {
      EXPECT_EQ(Information()->SetProperties({{u"Driver name", Variant::Text(u"B. Driver")},
                                              {u"First lap number", Variant::I32(5)}}),
                S_OK);
    });
    const bool failed = store::FaultVfs::Get().failures() > 0;
    store::FaultVfs::Get().Disarm();
    Reopen();
    EXPECT_EQ(Property(u"Driver name"), Variant::Text(messages.empty() ? u"B. Driver" : u"A. Driver"));
    EXPECT_EQ(LapNumbers().front(), messages.empty() ? 5u : 1u);
    sawSuccess = !failed;
  }
  EXPECT_TRUE(sawSuccess) << "some number of writes lets the commit through";
}

}  // namespace
}  // namespace velmar::testing
