// Shared set-up for the store's tests: a temp folder, a factory, a file
// made and reopened, write handles, and record lists held with their object.
#pragma once

#include <gtest/gtest.h>

#include <span>
#include <string>
#include <type_traits>
#include <vector>

#include "support/temp_dir.h"
#include "velmar/tarn_store.h"
#include "velmar/text.h"

namespace velmar::testing {

// Records and the object that owns what they point to.
template <class Record>
struct RecordList {
  ComPtr<IKivTarnRecords<Record>> object;
  std::span<const Record> items;

  size_t size() const { return items.size(); }
  bool empty() const { return items.empty(); }
  const Record& operator[](size_t i) const { return items[i]; }
  auto begin() const { return items.begin(); }
  auto end() const { return items.end(); }
};

template <class Record>
RecordList<Record> Hold(ComPtr<IKivTarnRecords<Record>> object) {
  RecordList<Record> list;
  uint32_t count = 0;
  const Record* records = nullptr;
  if (object) {
    EXPECT_EQ(object->GetRecords(&count, &records), S_OK);
    list.items = std::span<const Record>(records, count);
  }
  list.object = std::move(object);
  return list;
}

// A text of a record as a string; "(null)" for a null pointer.
std::u16string Str(const char16_t* text);

using Texts = std::vector<std::u16string>;

// One field of every record (texts as strings), to compare a whole list at once.
template <class Record, class T>
auto Column(const RecordList<Record>& list, T Record::*field) {
  using Out = std::conditional_t<std::is_same_v<T, const char16_t*>, std::u16string, T>;
  std::vector<Out> out;
  for (const Record& r : list) {
    if constexpr (std::is_same_v<T, const char16_t*>) {
      out.push_back(Str(r.*field));
    } else {
      out.push_back(r.*field);
    }
  }
  return out;
}

class StoreTest : public ::testing::Test {
 protected:
  void SetUp() override;

  std::u16string PathOf(const std::string& name) const;
  // Creates `name` and keeps its main object in store_.
  void Create(const std::string& name = "outing.trn");
  // Drops every reference and opens the file again.
  void Reopen();
  ComPtr<IKivTarnStore> Open(const std::u16string& path, KivResult expected = S_OK);

  ComPtr<IKivTarnWriteHandle> Handle(uint32_t waitLimit = kDefaultWaitLimit);
  template <class I>
  static ComPtr<I> Writer(const ComPtr<IKivTarnWriteHandle>& handle) {
    ComPtr<I> w = handle.As<I>();
    EXPECT_TRUE(w) << "write handle without the writer";
    return w;
  }
  template <class I>
  ComPtr<I> List() const {
    ComPtr<I> l = store_.As<I>();
    EXPECT_TRUE(l) << "main object without the list";
    return l;
  }

  RecordList<TarnOutingRecord> Details();
  RecordList<TarnChannelDescription> Channels();
  RecordList<TarnChannelData> Data(uint64_t channel, KivTime from = kTimeMin, KivTime to = kTimeMax);
  RecordList<TarnEventName> EventNames();
  RecordList<TarnEventRecord> Events(std::vector<uint64_t> ids, KivTime from = kTimeMin, KivTime to = kTimeMax);
  RecordList<TarnLapMarker> LapMarkers();
  RecordList<TarnBlobDescription> Blobs();
  RecordList<TarnConstantRecord> Constants();
  RecordList<TarnMediaChannelRecord> MediaChannels();

  // Adds one channel of `sampleType` and gives its id (commits).
  uint64_t AddChannel(const char16_t* tag, uint32_t sampleType = 7);

  TempDir dir_;
  ComPtr<IKivTarnStoreFactory> factory_;
  std::u16string path_;
  ComPtr<IKivTarnStore> store_;
};

// A store whose file is made afresh for each test.
class NewStoreTest : public StoreTest {
 protected:
  void SetUp() override {
    StoreTest::SetUp();
    Create();
  }
};

// A channel description with every field set to something recognisable.
TarnChannelDescription Description(const char16_t* tag, uint32_t sampleType);

// A periodic block over `samples` with `period`.
TarnChannelData Periodic(KivTime first, const int64_t* period, const void* samples, int32_t count);
// An aperiodic block over `times` and `samples`.
TarnChannelData Aperiodic(const int64_t* times, const void* samples, int32_t count);

}  // namespace velmar::testing
