// Blobs: added, read with content, modified and removed, through a fresh open.
#include "platform/store/blob_table.h"

#include <gtest/gtest.h>

#include "platform/store/store_test_helper.h"

namespace velmar::testing {
namespace {

class BlobTableTest : public NewStoreTest {
 protected:
  RecordList<TarnBlobRecord> Content(uint64_t id, KivResult expected = S_OK) {
    ComPtr<IKivTarnBlobDataRecords> records;
    EXPECT_EQ(List<IKivTarnBlobs>()->GetBlobData(kDefaultWaitLimit, id, records.Put()), expected);
    return Hold(std::move(records));
  }
  TarnBlobRecord Blob(const char16_t* name) {
    TarnBlobRecord blob{};
    blob.type = &type_;
    blob.name = name;
    return blob;
  }
  const Guid type_ = Guid::Literal("{1B4D7A8E-0C55-4F0B-9D3E-6A2F1C8B7E90}");
};

TEST_F(BlobTableTest, BlobsRoundTripWithTypeNameAndContent) {
  const uint8_t bytes[] = {0, 1, 2, 255};
  TarnBlobRecord blobs[2] = {Blob(u"Status definitions"), Blob(u"Empty")};
  blobs[0].data = bytes;
  blobs[0].size = 4;
  std::vector<uint64_t> ids;
  {
    auto handle = Handle();
    ASSERT_EQ(Writer<IKivTarnBlobWriter>(handle)->AddBlobs(2, blobs, &ids), S_OK);
  }
  Reopen();
  auto list = Blobs();
  ASSERT_EQ(list.size(), 2u);
  EXPECT_EQ(list[0].id, ids[0]);
  EXPECT_EQ(*list[0].type, type_);
  EXPECT_EQ(Str(list[1].name), u"Empty");
  auto content = Content(ids[0]);
  ASSERT_EQ(content.size(), 1u);
  EXPECT_EQ(Str(content[0].name), u"Status definitions");
  EXPECT_EQ(*content[0].type, type_);
  ASSERT_EQ(content[0].size, 4u);
  EXPECT_EQ(std::vector<uint8_t>(content[0].data, content[0].data + 4), std::vector<uint8_t>(bytes, bytes + 4));
  auto empty = Content(ids[1]);
  ASSERT_EQ(empty.size(), 1u);
  EXPECT_EQ(empty[0].size, 0u);
  EXPECT_EQ(empty[0].data, nullptr);
  Content(99, E_INVALIDARG);
}

TEST_F(BlobTableTest, ModifyReplacesContentKeepsWhatIsNotGivenAndRemoveTakesTheBlob) {
  TarnBlobRecord blobs[2] = {Blob(u"B"), Blob(u"Gone")};
  std::vector<uint64_t> ids;
  {
    auto handle = Handle();
    auto writer = Writer<IKivTarnBlobWriter>(handle);
    ASSERT_EQ(writer->AddBlobs(2, blobs, &ids), S_OK);
    const uint8_t bytes[] = {7, 8, 9};
    TarnBlobRecord change{};
    change.id = ids[0];
    change.data = bytes;
    change.size = 3;
    ASSERT_EQ(writer->ModifyBlobs(1, &change), S_OK);
    change.id = 1000;
    EXPECT_EQ(writer->ModifyBlobs(1, &change), E_INVALIDARG);
    change.data = nullptr;
    EXPECT_EQ(writer->ModifyBlobs(1, &change), E_POINTER);
    TarnBlobRecord noType{};
    noType.name = u"X";
    std::vector<uint64_t> none;
    EXPECT_EQ(writer->AddBlobs(1, &noType, &none), E_INVALIDARG);
    ASSERT_EQ(writer->RemoveBlobs(1, &ids[1]), S_OK);
    EXPECT_EQ(writer->RemoveBlobs(1, &ids[1]), E_INVALIDARG);
  }
  Reopen();
  EXPECT_EQ(Column(Blobs(), &TarnBlobDescription::name), Texts{u"B"});
  auto content = Content(ids[0]);
  ASSERT_EQ(content.size(), 1u);
  EXPECT_EQ(Str(content[0].name), u"B");
  EXPECT_EQ(*content[0].type, type_);
  EXPECT_EQ(content[0].size, 3u);
}

}  // namespace
}  // namespace velmar::testing
