#include "core/stream_values.h"

#include <gtest/gtest.h>

namespace velmar {
namespace {

TEST(StreamValues, TextsKeepTheirLayoutAndAFailedReadGoesBackToWhereItBegan) {
  ComPtr<IKivStorage> storage;
  ComPtr<IKivStream> stream;
  ASSERT_EQ(StgCreateMemoryStorage(storage.Put()), S_OK);
  ASSERT_EQ(storage->CreateStream(u"S", STGM_READWRITE | STGM_SHARE_EXCLUSIVE, stream.Put()), S_OK);
  const auto put = [&](const std::string& bytes) {
    EXPECT_EQ(stream->SetSize(0), S_OK);
    EXPECT_EQ(stream->Seek(0, STREAM_SEEK_SET, nullptr), S_OK);
    EXPECT_EQ(WriteStreamBytes(stream.Get(), bytes.data(), static_cast<uint32_t>(bytes.size())), S_OK);
    EXPECT_EQ(stream->Seek(0, STREAM_SEEK_SET, nullptr), S_OK);
  };
  std::u16string text = u"kept";
  put(std::string("\x08\0\0\0A\0", 6));
  EXPECT_EQ(ReadStreamText(stream.Get(), &text), E_FAIL) << "a short stream";
  EXPECT_EQ(text, u"kept");
  uint64_t position = 99;
  ASSERT_EQ(stream->Seek(0, STREAM_SEEK_CUR, &position), S_OK);
  EXPECT_EQ(position, 0u);
  put(std::string("\x01\0\0\0", 4));
  EXPECT_EQ(ReadStreamText(stream.Get(), &text), E_FAIL) << "a length of 1";
  put(std::string("\x00\x00\x20\x00", 4));
  EXPECT_EQ(ReadStreamText(stream.Get(), &text), E_ACCESSDENIED) << "longer than allowed";
  put(std::string("\0\0\0\0", 4));
  ASSERT_EQ(ReadStreamText(stream.Get(), &text), S_OK);
  EXPECT_TRUE(text.empty()) << "a null text reads as empty";

  put("");
  ASSERT_EQ(WriteStreamText(stream.Get(), u"AB"), S_OK);
  uint64_t end = 0;
  ASSERT_EQ(stream->Seek(0, STREAM_SEEK_CUR, &end), S_OK);
  EXPECT_EQ(end, StreamTextSize(u"AB"));
  ASSERT_EQ(stream->Seek(0, STREAM_SEEK_SET, nullptr), S_OK);
  ASSERT_EQ(ReadStreamText(stream.Get(), &text), S_OK);
  EXPECT_EQ(text, u"AB");
}

}  // namespace
}  // namespace velmar
