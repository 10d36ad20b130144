#include "outing/constants/constant_stream.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>

namespace velmar {
namespace {

using ::testing::ElementsAre;

class ConstantStreamTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_EQ(StgCreateMemoryStorage(storage_.Put()), S_OK);
    ASSERT_EQ(storage_->CreateStream(u"Constant Data", STGM_READWRITE | STGM_SHARE_EXCLUSIVE | STGM_CREATE,
                                     stream_.Put()),
              S_OK);
  }
  std::string Bytes() {
    StatStg stat;
    EXPECT_EQ(stream_->Stat(&stat), S_OK);
    std::string bytes(stat.size, '\0');
    EXPECT_EQ(stream_->Seek(0, STREAM_SEEK_SET, nullptr), S_OK);
    uint32_t read = 0;
    EXPECT_EQ(stream_->Read(bytes.data(), static_cast<uint32_t>(bytes.size()), &read), S_OK);
    return bytes;
  }
  void Put(const std::string& bytes) {
    ASSERT_EQ(stream_->SetSize(0), S_OK);
    ASSERT_EQ(stream_->Seek(0, STREAM_SEEK_SET, nullptr), S_OK);
    ASSERT_EQ(stream_->Write(bytes.data(), static_cast<uint32_t>(bytes.size()), nullptr), S_OK);
    ASSERT_EQ(stream_->Seek(0, STREAM_SEEK_SET, nullptr), S_OK);
  }

  ComPtr<IKivStorage> storage_;
  ComPtr<IKivStream> stream_;
};

const ConstantRecord kMass{u"Mass", 640.5, u"kg", u""};
const ConstantRecord kAmbient{u"Ambient", 0, u"degC", u"|w.xlsx|A1"};

TEST_F(ConstantStreamTest, RecordsRoundTrip) {
  ASSERT_EQ(WriteConstantData(stream_.Get(), {kMass, kAmbient}), S_OK);
  std::vector<ConstantRecord> read;
  ASSERT_EQ(ReadConstantData(stream_.Get(), &read), S_OK);
  EXPECT_THAT(read, ElementsAre(kMass, kAmbient));
}

TEST_F(ConstantStreamTest, TheHeaderAndTextsHaveTheirByteLayout) {
  ASSERT_EQ(WriteConstantData(stream_.Get(), {ConstantRecord{u"A", 1.0, u"", u""}}), S_OK);
  const std::string bytes = Bytes();
  const std::string expected("\x0C\0\0\0\x01\0\0\0\x01\0\0\0"   // 12, 1, one record
                             "\x04\0\0\0A\0\0\0"                 // "A": 4 bytes with the terminator
                             "\0\0\0\0\0\0\xF0\x3F"              // 1.0
                             "\x02\0\0\0\0\0"                    // empty text
                             "\x02\0\0\0\0\0",                   // empty unit
                             12 + 8 + 8 + 6 + 6);
  EXPECT_EQ(bytes, expected);
}

TEST_F(ConstantStreamTest, AppendRaisesTheCountAndKeepsWhatWasThere) {
  ASSERT_EQ(WriteConstantData(stream_.Get(), {kMass}), S_OK);
  ASSERT_EQ(AppendConstantData(stream_.Get(), {kAmbient}), S_OK);
  std::vector<ConstantRecord> read;
  ASSERT_EQ(ReadConstantData(stream_.Get(), &read), S_OK);
  EXPECT_THAT(read, ElementsAre(kMass, kAmbient));
  ASSERT_EQ(WriteConstantData(stream_.Get(), {}), S_OK);
  EXPECT_EQ(Bytes().size(), 12u) << "a rewrite cuts the stream first";
}

TEST_F(ConstantStreamTest, ASpreadsheetValueIsDroppedOnReading) {
  ASSERT_EQ(WriteConstantData(stream_.Get(), {ConstantRecord{u"X", 0, u"", u"|b.xls|A1"}}), S_OK);
  std::string bytes = Bytes();
  const double stored = 77;
  std::memcpy(bytes.data() + 12 + 8, &stored, sizeof stored);  // a value a writer should not have kept
  Put(bytes);
  std::vector<ConstantRecord> read;
  ASSERT_EQ(ReadConstantData(stream_.Get(), &read), S_OK);
  EXPECT_EQ(read.at(0).value, 0);
}

TEST_F(ConstantStreamTest, BadStreamsAreRefused) {
  std::vector<ConstantRecord> read;
  Put(std::string("\x0C\0\0\0\x02\0\0\0\0\0\0\0", 12));
  EXPECT_EQ(ReadConstantData(stream_.Get(), &read), E_FAIL) << "unknown version";
  Put(std::string("\x0C\0\0\0\x01\0\0\0\x01\0\0\0\x01\0\0\0", 16));
  EXPECT_EQ(ReadConstantData(stream_.Get(), &read), E_FAIL) << "a text of length 1";
  Put(std::string("\x0C\0\0\0\x01\0\0\0\x01\0\0\0\x00\x00\x20\x00", 16));
  EXPECT_EQ(ReadConstantData(stream_.Get(), &read), E_ACCESSDENIED) << "a text longer than allowed";
  Put(std::string("\x0C\0\0\0\x01\0\0\0\x02\0\0\0\x04\0\0\0A\0\0\0", 20));
  EXPECT_EQ(ReadConstantData(stream_.Get(), &read), E_FAIL) << "a short stream";
  Put(std::string("\x0C\0\0", 3));
  EXPECT_EQ(ReadConstantData(stream_.Get(), &read), E_FAIL);
}

}  // namespace
}  // namespace velmar
