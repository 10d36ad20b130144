// The blob and media channel factories of a `.trn` outing object: lists
// read from the file on first demand, items made once per name, their data
// read on demand.
#include "sources/tarn/tarn_outing_factories.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "tarn_outing_helper.h"
#include "velmar/blobs.h"
#include "velmar/media.h"

namespace velmar::testing {
namespace {

constexpr uint32_t kPending = 3;

// Hears one item's notifications through a `Sink`, blob or data item, in order.
template <class Sink>
struct Heard : CBlobNotifications2Receiver, CDataNotifications2Receiver {
  explicit Heard(IKivUnknown* item) : item_(item) {
    sink_->SetReceiver(this);
    EXPECT_TRUE(sink_->Connect(item));
  }
  ~Heard() {
    sink_->SetReceiver(nullptr);
    sink_->Disconnect(item_.Get());
  }
  void OnBlobChanged(IKivBlob*) override { log.push_back("changed"); }
  void OnBlobRemoved(IKivBlob*) override { log.push_back("removed"); }
  void OnBlobFailed(IKivBlob*) override { log.push_back("failed"); }
  void OnDataChanged(IKivData*, KivTime, KivTime) override { log.push_back("changed"); }
  void OnDataRemoved(IKivData*) override { log.push_back("removed"); }
  void OnDataFailed(IKivData*) override { log.push_back("failed"); }
  std::vector<std::string> log;
  ComPtr<IKivUnknown> item_;
  ComPtr<Sink> sink_ = MakeKiv<Sink>();
};

template <class Item>
uint32_t StatusOf(Item* item) {
  uint32_t status = 99;
  EXPECT_EQ(item->GetStatus(&status), S_OK);
  return status;
}

class TarnOutingFactoriesTest : public TarnOutingTest {
 protected:
  // Two recorded channels and one a user added, whose clip has no file and
  // so can't be used.
  std::u16string WriteWithMedia() {
    std::u16string path = Write(SampleDataSet());
    WriteThroughStore<IKivTarnMediaWriter>(path, [](IKivTarnMediaWriter& w) {
      TarnMediaChannelRecord channels[3] = {{0, u"Onboard", 0, 1, 0, 0, 0, 0, 0},
                                            {0, u"Pit lane", 0, kMediaChannelAddedByUser, 0, 0, 0, 1, 0},
                                            {0, u"", 0, 0, 0, 0, 0, 0, 0}};
      std::vector<uint64_t> ids, clipIds;
      ASSERT_EQ(w.AddMediaChannels(3, channels, &ids), S_OK);
      static const TarnMediaFrame frames[2] = {{0, 0, {}}, {10 * kS, 250, {}}};
      TarnMediaClipRecord clips[3] = {};
      clips[0] = {0, u"/video/a.mp4", ids[0], 0, 10 * kS, 20 * kS, 2, {}, frames};
      clips[1] = {0, u"/video/b.mp4", ids[0], 0, 30 * kS, 40 * kS, 1, {}, frames};
      clips[2] = {0, nullptr, ids[1], 0, 0, 5 * kS, 1, {}, frames};
      ASSERT_EQ(w.AddMediaClips(3, clips, &clipIds), S_OK);
    });
    return path;
  }
};

TEST_F(TarnOutingFactoriesTest, BlobsAreListedOnDemandAndTheirContentReadWhenAskedFor) {
  OpenListened(Write(SampleDataSet()));
  auto blobs = Facet<IKivBlobFactory>();
  ASSERT_TRUE(blobs);
  ComPtr<IKivBlob> blob, again;
  EXPECT_EQ(blobs->GetItem(u"Map", blob.Put()), E_INVALIDARG) << "the list is not in; its read starts";
  EXPECT_EQ(blobs->GetItem(u"Map", nullptr), E_POINTER);
  ASSERT_TRUE(Settle());
  EXPECT_NE(std::find(listener_->log.begin(), listener_->log.end(), "ItemsAdded:Map"), listener_->log.end());
  EXPECT_EQ(listener_->kinds, std::vector<uint32_t>{kDataKindBlobs});
  NameList names;
  ASSERT_EQ(blobs->GetNames(&names), S_OK);
  EXPECT_EQ(names, NameList{u"Map"});
  EXPECT_EQ(blobs->GetItem(u"Nothing", blob.Put()), E_INVALIDARG);
  ASSERT_EQ(blobs->GetItem(u"Map", blob.Put()), S_OK);
  ASSERT_EQ(blobs->GetItem(u"Map", again.Put()), S_OK);
  EXPECT_EQ(blob.Get(), again.Get()) << "one object per name";

  Heard<CBlobNotifications2Sink<>> heard(blob.Get());
  std::u16string text;
  ASSERT_EQ(blob->GetName(&text), S_OK);
  EXPECT_EQ(text, u"Map");
  EXPECT_EQ(StatusOf(blob.Get()), kPending) << "asking starts the content's read";
  std::vector<uint8_t> bytes{9};
  EXPECT_EQ(blob->GetData(&bytes), S_FALSE);
  EXPECT_TRUE(bytes.empty());
  ASSERT_TRUE(Settle());
  EXPECT_EQ(heard.log, std::vector<std::string>{"changed"});
  EXPECT_EQ(StatusOf(blob.Get()), StatusCode(DataStatus::kAvailable));
  ASSERT_EQ(blob->GetGuid(&text), S_OK);
  EXPECT_EQ(text, SampleDataSet().blobs[0].type.ToWide());
  ASSERT_EQ(blob->GetData(&bytes), S_OK);
  EXPECT_EQ(bytes, (std::vector<uint8_t>{4, 5, 6, 7}));
  EXPECT_EQ(blob->GetData(nullptr), E_POINTER);
}

TEST_F(TarnOutingFactoriesTest, ABlobGoneFromTheFileFailsItsReadAndLeavesWithTheNextList) {
  std::u16string path = Write(SampleDataSet());
  OpenListened(path);
  auto blobs = Listed<IKivBlobFactory>();
  ComPtr<IKivBlob> blob;
  ASSERT_EQ(blobs->GetItem(u"Map", blob.Put()), S_OK);
  uint64_t id = outing_->cache()->BlobList()->at(0).id;
  WriteThroughStore<IKivTarnBlobWriter>(path, [&](IKivTarnBlobWriter& w) { EXPECT_EQ(w.RemoveBlobs(1, &id), S_OK); });

  Heard<CBlobNotifications2Sink<>> heard(blob.Get());
  EXPECT_EQ(StatusOf(blob.Get()), kPending);
  ASSERT_TRUE(Settle());
  EXPECT_EQ(StatusOf(blob.Get()), StatusCode(DataStatus::kNotAvailable));
  listener_->log.clear();
  ASSERT_EQ(outing_->CloseData(), S_OK);
  ASSERT_TRUE(Settle());
  EXPECT_EQ(heard.log, (std::vector<std::string>{"failed", "changed", "removed"}))
      << "the read failed; the close let its data go; the new list has no such blob";
  EXPECT_NE(std::find(listener_->log.begin(), listener_->log.end(), "ItemsRemoved:Map"), listener_->log.end());
  EXPECT_EQ(listener_->kinds.back(), kDataKindBlobs);
  std::vector<uint8_t> bytes;
  EXPECT_EQ(blob->GetData(&bytes), E_FAIL) << "a blob that left its outing reads nothing";
  EXPECT_EQ(blobs->GetItem(u"Map", blob.Put()), E_INVALIDARG);
}

TEST_F(TarnOutingFactoriesTest, MediaChannelsAreListedAndTheirClipsReadWhenAskedFor) {
  OpenListened(WriteWithMedia());
  auto media = Facet<IKivMediaChannelFactory>();
  ASSERT_TRUE(media);
  NameList names;
  ASSERT_EQ(media->GetNames(&names), S_OK);
  EXPECT_TRUE(names.empty()) << "not read yet; the read is started";
  ASSERT_TRUE(Settle());
  EXPECT_EQ(listener_->kinds, std::vector<uint32_t>{kDataKindMediaChannels});
  ASSERT_EQ(media->GetNames(&names), S_OK);
  EXPECT_EQ(names, (NameList{u"Onboard", u"Pit lane"})) << "a channel without a name is not listed";
  ComPtr<IKivMediaChannel> item;
  EXPECT_EQ(media->GetItem(u"", item.Put()), E_INVALIDARG);
  ASSERT_EQ(media->GetItem(u"Onboard", item.Put()), S_OK);
  auto* onboard = static_cast<CTarnMediaChannelBase*>(item.Get());
  EXPECT_FALSE(onboard->added_by_user());

  Heard<CDataNotifications2Sink<>> heard(item.Get());
  std::vector<const TarnMediaClip*> clips;
  EXPECT_EQ(onboard->GetClips(0, 15 * kS, &clips), KIV_E_PENDING);
  EXPECT_EQ(StatusOf(onboard), kPending);
  EXPECT_EQ(onboard->access_state(), CTarnMediaChannelBase::AccessState::kNotAsked);
  ASSERT_TRUE(Settle());
  EXPECT_EQ(heard.log, std::vector<std::string>{"changed"});
  EXPECT_EQ(onboard->access_state(), CTarnMediaChannelBase::AccessState::kLoaded);
  EXPECT_EQ(StatusOf(onboard), StatusCode(DataStatus::kAvailable));
  ASSERT_EQ(onboard->GetClips(0, 15 * kS, &clips), S_OK);
  ASSERT_EQ(clips.size(), 1u);
  EXPECT_EQ(clips[0]->path, u"/video/a.mp4");
  ASSERT_EQ(clips[0]->frames.size(), 2u);
  EXPECT_EQ(clips[0]->frames[1].frameNumber, 250u);
  ASSERT_EQ(onboard->GetClips(kTimeMin, kTimeMax, &clips), S_OK);
  EXPECT_EQ(clips.size(), 2u);

  // The list read again with the same ids keeps the object; its clips go.
  ASSERT_EQ(outing_->CloseData(), S_OK);
  EXPECT_EQ(onboard->access_state(), CTarnMediaChannelBase::AccessState::kNotAsked);
  ASSERT_TRUE(Settle());
  ComPtr<IKivMediaChannel> again;
  ASSERT_EQ(media->GetItem(u"Onboard", again.Put()), S_OK);
  EXPECT_EQ(again.Get(), item.Get());
}

TEST_F(TarnOutingFactoriesTest, AMediaChannelWithAnUnusableClipIsNotAvailable) {
  OpenListened(WriteWithMedia());
  ComPtr<IKivMediaChannel> item;
  ASSERT_EQ(Listed<IKivMediaChannelFactory>()->GetItem(u"Pit lane", item.Put()), S_OK);
  auto* pit = static_cast<CTarnMediaChannelBase*>(item.Get());
  EXPECT_TRUE(pit->added_by_user());
  EXPECT_EQ(pit->entry().fileNumber, 1u);
  Heard<CDataNotifications2Sink<>> heard(item.Get());
  EXPECT_EQ(StatusOf(pit), kPending);
  ASSERT_TRUE(Settle());
  EXPECT_EQ(heard.log, (std::vector<std::string>{"changed", "failed"}));
  EXPECT_EQ(StatusOf(pit), StatusCode(DataStatus::kNotAvailable));
  EXPECT_EQ(pit->access_state(), CTarnMediaChannelBase::AccessState::kFailed);
  std::vector<const TarnMediaClip*> clips;
  EXPECT_EQ(pit->GetClips(kTimeMin, kTimeMax, &clips), E_FAIL);
  EXPECT_EQ(pit->GetClips(kTimeMin, kTimeMax, nullptr), E_POINTER);
}

}  // namespace
}  // namespace velmar::testing
