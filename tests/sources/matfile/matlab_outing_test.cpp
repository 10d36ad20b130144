// MAT-file outings end to end on the client thread: created through the
// factory, files of another writer (scipy) read, channels and information
// written in commits and read back by scipy, and writes that fail or meet
// a held file.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>

#include "export/fake_channel.h"
#include "export/read_back.h"
#include "sources/matfile/matlab_channel_write.h"
#include "sources/matfile/matlab_information_write.h"
#include "sources/matfile/matlab_outing.h"
#include "sources/text/faulty_text_file_ops.h"
#include "support/matfile_spreadsheet_outing.h"

namespace velmar::testing {
namespace {

using ::testing::ElementsAre;
using Fault = FaultyTextFileOps::Fault;

// The checker: the system's python with scipy, which this machine may lack.
bool Python(const std::string& script) {
  const std::string command = "/usr/bin/python3 -c '" + script + "' > /dev/null";
  return std::system(command.c_str()) == 0;
}
bool HaveScipy() { return Python("import scipy.io"); }

class MatlabOutingTest : public FileOutingTest<CMatlabOuting, CMatlabOutingCache> {
 protected:
  void SetUp() override { ASSERT_TRUE(Succeeded(RegisterMatlabOutingSource())); }
  std::filesystem::path File(const std::string& name) { return dir_ / name; }
  KivResult Open(const std::filesystem::path& path, bool create = false) {
    return OpenAs(kMatFileOutingTypeId, path, create);
  }
  Variant Information(const std::u16string& name) {
    ComPtr<IKivPropertySet> info;
    (void)outing_->GetOutingInformation(info.Put());
    EXPECT_TRUE(Settle());
    Variant value;
    if (outing_->GetOutingInformation(info.Put()) == S_OK) (void)info->GetProperty(name, &value);
    return value;
  }
  std::vector<std::string> Commit(ComPtr<CWriteBackStateMachineBase> step) {
    return FileOutingTest::Commit({std::move(step)}, "TransactionMessage");
  }
  std::vector<std::string> WriteChannels(std::initializer_list<const char16_t*> names) {
    auto step = MakeKiv<CMatlabWriteBackChannelStateMachine>(outing_->cache()->write_back());
    for (const char16_t* name : names) {
      auto fake = MakeFakeChannel(nlohmann::json{{{"start", 0}, {"interval", 100000}, {"count", 10}}});
      step->AddItem(std::make_unique<CExportChannel>(name, 0, 10'000'000, fake.Get(), 2.0, 1.0, 0, 0));
    }
    return Commit(step);
  }
};

TEST_F(MatlabOutingTest, ANewFileIsTheHeaderAloneAndAnOutingWithoutChannels) {
  const auto path = File("new.mat");
  ASSERT_EQ(Open(path), S_FALSE) << "a missing file without create is the empty outing";
  ASSERT_EQ(Open(path, true), S_OK);
  OutingListener& heard = Listen();
  ASSERT_TRUE(Settle());
  EXPECT_THAT(heard.log, ElementsAre("Created:-1"));
  EXPECT_EQ(ReadWhole(path), MatHeaderBytes());
  EXPECT_EQ(*Information(u"System details").AsText(), u"Kivara Written DataSet");
  EXPECT_EQ(outing_->cache()->loaded()->status(), S_FALSE);
  NameList names;
  EXPECT_EQ(outing_->channels().GetNames(&names), S_OK);
  EXPECT_TRUE(names.empty());
  EXPECT_FALSE(CMatlabFileHandles::Create(path).ok()) << "the file must not exist";
}

TEST_F(MatlabOutingTest, AFileScipyWroteOpensWithItsChannels) {
  if (!HaveScipy()) GTEST_SKIP() << "no /usr/bin/python3 with scipy to write the file";
  const auto path = File("scipy.mat");
  ASSERT_TRUE(Python("import numpy as n, scipy.io as s; t = n.arange(1000) / 100.0; "
                     "s.savemat(\"" + path.string() + "\", {\"Speed\": n.column_stack([t, 3 * t]), "
                     "\"ab\": n.array([[0.5, 1.0]]), \"grid\": n.ones((4, 3))})"));
  ASSERT_EQ(Open(path), S_OK);
  const Samples speed = ReadBackChannel(&outing_->channels(), u"Speed", [this] { return Settle(); });
  ASSERT_EQ(speed.size(), 1000u);
  EXPECT_EQ(speed.back().first, 99'900'000);
  EXPECT_DOUBLE_EQ(speed.back().second, 29.97);
  EXPECT_EQ(ReadBackChannel(&outing_->channels(), u"ab", [this] { return Settle(); }), (Samples{{5'000'000, 1.0}}));
  EXPECT_EQ(*Information(u"System details").AsText(), u"Externally Written DataSet");
}

TEST_F(MatlabOutingTest, WritesInCommitsLoadInScipyAndADuplicateIsRefused) {
  const auto path = File("written.mat");
  ASSERT_TRUE(CMatlabFileHandles::Create(path).ok());
  ASSERT_EQ(Open(path), S_OK);
  EXPECT_TRUE(WriteChannels({u"Engine Speed", u"[12]Gear Box"}).empty());
  EXPECT_EQ(WriteChannels({u"Engine Speed"}),
            std::vector<std::string>{"TransactionMessage:Failed to write channels - duplicate channels found"});
  const PropertyList info{{u"Driver name", Variant::Text(u"Ann")}, {u"Session number", Variant::I32(4)}};
  EXPECT_TRUE(Commit(MakeKiv<CMatlabOutingInfoStep>(outing_->cache()->write_back(), info)).empty());
  EXPECT_EQ(Commit(MakeKiv<CMatlabOutingInfoStep>(outing_->cache()->write_back(), PropertyList{})),
            std::vector<std::string>{"TransactionMessage:Failed to write outing information - no properties selected"});
  EXPECT_EQ(*Information(u"Driver name").AsText(), u"Ann");
  EXPECT_EQ(Information(u"Session number").AsI32(), 4);
  const Samples gear = ReadBackChannel(&outing_->channels(), u"Gear_Box", [this] { return Settle(); });
  ASSERT_EQ(gear.size(), 10u);
  EXPECT_DOUBLE_EQ(gear[3].second, 2.0 * 0.03 + 1.0);
  if (!HaveScipy()) GTEST_SKIP() << "no /usr/bin/python3 with scipy to read the file";
  EXPECT_TRUE(Python("import numpy as n, scipy.io as s; m = s.loadmat(\"" + path.string() + "\"); "
                     "e = m[\"Engine_Speed\"]; assert e.shape == (10, 2) and e.dtype == n.float64; "
                     "assert abs(e[9, 0] - 0.09) < 1e-12 and m[\"Gear_Box\"].shape == (10, 2); "
                     "assert m[\"KivDriverName\"][0] == \"Ann\" and m[\"KivOuting\"][0] == \"<004:---:--->\""));
}

TEST_F(MatlabOutingTest, AWriteThatFailsLeavesTheFileAsItWas) {
  const auto path = File("kept.mat");
  ASSERT_TRUE(CMatlabFileHandles::Create(path).ok());
  FaultyTextFileOps ops;
  CMatlabFileHandles file(path, ops);
  ASSERT_TRUE(file.Open(true).ok());
  const std::vector<KivTime> times{0, 10'000'000};
  const std::vector<double> values{1, 2};
  ASSERT_TRUE(file.WriteChannel({u"Speed", times, values}).ok());
  const std::string before = ReadWhole(path);
  for (Fault fault : {Fault::kWriteHalfThenFull, Fault::kSync, Fault::kRename}) {
    ops.fault = fault;
    EXPECT_FALSE(file.WriteInformation({{u"Car name", Variant::Text(u"X")}}).ok());
    EXPECT_EQ(ReadWhole(path), before);
  }
  for (Fault fault : {Fault::kWriteHalfThenFull, Fault::kSync}) {
    ops.fault = fault;
    EXPECT_FALSE(file.WriteChannel({u"Other", times, values}).ok());
    EXPECT_EQ(ReadWhole(path), before);
  }
  EXPECT_EQ(CountFiles(dir_.path()), 1u) << "no temporary file is left";
  CMatlabFileHandles second(path);
  EXPECT_EQ(second.Open(false).code(), TextCode::kFileLocked);
}

}  // namespace
}  // namespace velmar::testing
