#include "sources/text/ascii_outing.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <thread>

#include "ascii_outing_fixture.h"
#include "sources/text/text_writer.h"
#include "support/selection_binding.h"

namespace velmar::testing {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class AsciiOutingTest : public AsciiOutingFixture {};

TEST_F(AsciiOutingTest, ASampleLoadsOnItsWorkerAndReachesTheClientInOrder) {
  const std::u16string path = PathOf("sample.txt");
  WriteSample(path);
  a_ = Open(path);
  OutingListener& heard = Listen(a_.Get());
  EXPECT_THAT(Names(a_->channels()), IsEmpty()) << "nothing is read before a client asks";
  EXPECT_EQ(a_->cache()->load_machine().state(), State::kRunning);
  ASSERT_TRUE(Settle());

  EXPECT_THAT(heard.log, ElementsAre("ItemsAdded:End of lap", ::testing::StartsWith("ItemsAdded:Brake Balance,Front Wing"),
                                     "InformationChanged", ::testing::StartsWith("ItemsAdded:Brake Pressure,Distance"),
                                     "LapMarkersReset"));
  for (auto id : heard.threads) EXPECT_EQ(id, std::this_thread::get_id()) << "notifications come on the client thread";
  EXPECT_EQ(Names(a_->channels()).size(), SampleFastColumns().size() + SampleSlowColumns().size());
  EXPECT_THAT(Names(a_->event_sets()), ElementsAre(u"End of lap"));
}

TEST_F(AsciiOutingTest, InformationComesFromTheBlockOnceLoaded) {
  const std::u16string path = PathOf("info.txt");
  WriteSample(path);
  a_ = Open(path);
  ComPtr<IKivPropertySet> info;
  EXPECT_EQ(a_->GetOutingInformation(info.Put()), S_FALSE) << "asks for the load";
  EXPECT_EQ(info, nullptr);
  ASSERT_TRUE(Settle());
  ASSERT_EQ(a_->GetOutingInformation(info.Put()), S_OK);
  Variant track;
  ASSERT_EQ(info->GetProperty(u"Track name", &track), S_OK);
  EXPECT_EQ(*track.AsText(), u"Halvane Park");
  Variant engineTest;
  ASSERT_EQ(info->GetProperty(u"Engine test", &engineTest), S_OK);
  EXPECT_EQ(engineTest.AsBool(), false);
  Variant unknown;
  EXPECT_EQ(info->GetProperty(u"SampleSeed", &unknown), E_INVALIDARG) << "unknown keys are not properties";
  EXPECT_EQ(info->SetProperty(u"Track name", Variant::Text(u"x")), KIV_E_TXN_NOT_OPEN) << "checked; no transaction";
  EXPECT_EQ(a_->GetOutingInformation(nullptr), E_POINTER);
}

TEST_F(AsciiOutingTest, TwoOutingsShareOneLoadAndCloseDataDiscardsBoth) {
  const std::u16string path = PathOf("shared.txt");
  OpenLoaded(path);
  b_ = Open(path);
  EXPECT_EQ(a_->cache(), b_->cache());
  EXPECT_EQ(Names(b_->channels()).size(), Names(a_->channels()).size()) << "no second load is needed";
  EXPECT_EQ(Names(b_->event_sets()).size(), 1u);
  EXPECT_EQ(Names(b_->constants()).size(), 8u);
  OutingListener& heardA = Listen(a_.Get());
  OutingListener& heardB = Listen(b_.Get());

  EXPECT_EQ(b_->CloseData(), S_OK);
  for (OutingListener* heard : {&heardA, &heardB}) {
    ASSERT_GE(heard->log.size(), 3u);
    EXPECT_THAT(heard->log[0], ::testing::StartsWith("ItemsRemoved:Brake Pressure"));
    EXPECT_EQ(heard->log[1], "ItemsRemoved:End of lap");
    EXPECT_THAT(heard->log[2], ::testing::StartsWith("ItemsRemoved:Brake Balance"));
  }
  EXPECT_EQ(a_->cache()->data(), nullptr);
  const size_t heardBefore = heardA.log.size();
  EXPECT_EQ(a_->CloseData(), S_OK);
  EXPECT_EQ(heardA.log.size(), heardBefore) << "a second discard does nothing";

  // The next demand reads the file again.
  (void)Names(a_->channels());
  ASSERT_TRUE(Settle());
  EXPECT_FALSE(Names(a_->channels()).empty());
  EXPECT_FALSE(Names(b_->channels()).empty());
}

TEST_F(AsciiOutingTest, AnEmptyFileLoadsWithoutChannelOrLapNotifications) {
  const std::u16string path = PathOf("empty.txt");
  testing::WriteWhole(TextFilePath(path), NewFileBytes());
  a_ = Open(path);
  OutingListener& heard = Listen(a_.Get());
  (void)Names(a_->channels());
  ASSERT_TRUE(Settle());
  EXPECT_EQ(a_->cache()->load_machine().state(), State::kDone);
  EXPECT_THAT(heard.log, ElementsAre("InformationChanged"));
  EXPECT_THAT(Names(a_->channels()), IsEmpty());
}

TEST_F(AsciiOutingTest, AFailedLoadIsSilentAndTheNextDemandRetries) {
  const std::u16string path = PathOf("later.txt");
  a_ = Open(path);
  OutingListener& heard = Listen(a_.Get());
  IKivChannel* channel = nullptr;
  EXPECT_EQ(a_->channels().GetItem(u"Speed", &channel), KIV_E_PENDING);
  ASSERT_TRUE(Settle());
  EXPECT_EQ(a_->cache()->load_machine().state(), State::kIdle);
  EXPECT_EQ(a_->cache()->load_machine().load_job()->load_status().code(), TextCode::kFileNotFound);
  EXPECT_THAT(heard.log, IsEmpty());

  WriteSample(path);
  EXPECT_EQ(a_->channels().GetItem(u"Speed", &channel), KIV_E_PENDING);
  ASSERT_TRUE(Settle());
  EXPECT_EQ(a_->cache()->load_machine().state(), State::kDone);
  EXPECT_EQ(a_->channels().GetItem(u"No such channel", &channel), E_INVALIDARG);
  EXPECT_EQ(a_->channels().GetItem(u"Speed", nullptr), E_POINTER);
}

TEST_F(AsciiOutingTest, AChannelReadsItsColumnAndFollowsTheOutingOffset) {
  const std::u16string path = PathOf("channel.txt");
  WriteWhole(TextFilePath(path), "KivaraASCIIDataSet\r\n\r\n{OutingInformation}\r\n\r\n{ChannelBlock}\r\n"
                                 "Time\tSpeed[km/h]\tGear\r\n0\t100\t1\r\n1\t110\t\r\n2\t120\t3\r\n");
  a_ = Open(path);
  BoundSelection bound(a_.Get());
  ComPtr<IKivChannel> speed;
  EXPECT_EQ(a_->channels().GetItem(u"Speed", speed.Put()), KIV_E_PENDING);
  ASSERT_TRUE(Settle());
  ASSERT_EQ(a_->channels().GetItem(u"Speed", speed.Put()), S_OK);
  ComPtr<IKivChannel> again;
  ASSERT_EQ(a_->channels().GetItem(u"Speed", again.Put()), S_OK);
  EXPECT_EQ(again, speed) << "one object per name";

  ComPtr<IKivChannelIterator2> iterator;
  ASSERT_EQ(speed->GetIterator(iterator.Put()), S_OK);
  KivTime last = 0;
  double value = 0;
  ASSERT_EQ(iterator->GetLastSample(&last, &value), S_OK);
  EXPECT_EQ(last, 2 * kTicksPerSecond);
  EXPECT_DOUBLE_EQ(value, 120.0 / 3.6) << "km/h read into the base unit, m/s";

  ComPtr<IKivChannel> gear;
  ASSERT_EQ(a_->channels().GetItem(u"Gear", gear.Put()), S_OK);
  ComPtr<IKivChannelIterator2> gearIterator;
  ASSERT_EQ(gear->GetIterator(gearIterator.Put()), S_OK);
  ASSERT_EQ(gearIterator->GetLastSample(&last, &value), S_OK);
  EXPECT_DOUBLE_EQ(value, 3.0) << "the empty cell cost only its column";

  EXPECT_EQ(a_->SetTimeOffset(10 * kTicksPerSecond), S_OK);
  ASSERT_EQ(iterator->GetLastSample(&last, &value), S_OK);
  EXPECT_EQ(last, 12 * kTicksPerSecond);
  iterator = nullptr;
  gearIterator = nullptr;
}

// The lap events of a loaded sample, as the load read them.
std::vector<KivTime> LapEventTimes(CAsciiOuting& outing) {
  std::vector<KivTime> times;
  for (const auto& [time, event] : outing.cache()->data()->events.at(std::u16string(kEndOfLapEventSet))) {
    times.push_back(time);
  }
  return times;
}

ComPtr<IKivEvents> EventsOf(CAsciiOuting& outing, ComPtr<IKivEventsIterator>* iterator) {
  ComPtr<IKivEventSet> set;
  EXPECT_EQ(outing.event_sets().GetItem(std::u16string(kEndOfLapEventSet), set.Put()), S_OK);
  ComPtr<IKivEvents> events;
  if (!set) return events;
  EXPECT_EQ(set->GetIterator(iterator->Put()), S_OK);
  EXPECT_EQ((*iterator)->GetEvents(events.Put()), S_OK);
  return events;
}

// The time of the first event of the outing's lap set, as a client reads it.
KivTime FirstLapEventTime(CAsciiOuting& outing) {
  ComPtr<IKivEventsIterator> iterator;
  ComPtr<IKivEvents> events = EventsOf(outing, &iterator);
  ComPtr<IKivEvent> first;
  KivTime time = -1;
  if (events && events->GetEvent(1, first.Put()) == S_OK) (void)first->GetTime(&time);  // else -1
  return time;
}

TEST_F(AsciiOutingTest, EndOfLapEventsAreListedInTimeAndFoundByTime) {
  OpenLoaded(PathOf("events.txt"));
  const std::vector<KivTime> times = LapEventTimes(*a_);
  ASSERT_EQ(times.size(), 2u);
  ComPtr<IKivEventsIterator> iterator;
  ComPtr<IKivEvents> events = EventsOf(*a_, &iterator);
  ASSERT_NE(events, nullptr);
  uint32_t count = 0;
  ASSERT_EQ(events->GetCount(&count), S_OK);
  std::vector<std::string> read, expected;
  for (uint32_t k = 0; k < count; ++k) {
    ComPtr<IKivEvent> event;
    KivTime time = 0;
    std::u16string name, source, message;
    uint32_t category = 9;
    ASSERT_EQ(events->GetEvent(static_cast<int32_t>(k + 1), event.Put()), S_OK);
    ASSERT_TRUE(event->GetTime(&time) == S_OK && event->GetName(&name) == S_OK && event->GetSource(&source) == S_OK &&
                event->GetMessage(&message) == S_OK && event->GetCategory(&category) == S_OK);
    read.push_back(std::to_string(time) + WideToUtf8(u" " + name + u" " + source + u" " + message) + " " +
                   std::to_string(category));
    expected.push_back(std::to_string(times[k]) + " End of lap Beacon Lap " + std::to_string(k + 1) + " " +
                       std::to_string(kEventFromCar));
  }
  EXPECT_EQ(read, expected);
  int32_t index = -1;
  EXPECT_EQ(iterator->FindEvent(times[0], kFindEventNext, 0, &index), S_OK);
  EXPECT_EQ(index, 2) << "strictly after the first lap's end";

  ComPtr<IKivEventSet> unknown;
  EXPECT_EQ(a_->event_sets().GetItem(u"Pit stop", unknown.Put()), E_INVALIDARG);
  EXPECT_EQ(a_->event_sets().GetItem(u"End of lap", nullptr), E_POINTER);
}

TEST_F(AsciiOutingTest, EventSetsFollowTheOutingOffset) {
  OpenLoaded(PathOf("offset-events.txt"));
  const std::vector<KivTime> times = LapEventTimes(*a_);
  constexpr KivTime kShift = 30'000'000;
  ASSERT_EQ(a_->SetTimeOffset(kShift), S_OK);
  EXPECT_EQ(FirstLapEventTime(*a_), times[0] + kShift) << "a set made before the shift moves with it";

  OutingListener& heard = Listen(a_.Get());
  EXPECT_EQ(a_->CloseData(), S_OK);
  ComPtr<IKivEventSet> set;
  EXPECT_EQ(a_->event_sets().GetItem(u"End of lap", set.Put()), KIV_E_PENDING) << "asks for the load";
  ASSERT_TRUE(Settle());
  EXPECT_EQ(FirstLapEventTime(*a_), times[0] + kShift) << "a set made after the shift starts with it";
  EXPECT_THAT(heard.log, ::testing::Contains("ItemsAdded:End of lap"));
}

TEST_F(AsciiOutingTest, ConstantsHaveTheirValuesAndComeBackAfterAReload) {
  OpenLoaded(PathOf("constants.txt"));
  ComPtr<IKivConstant> constant;
  ASSERT_EQ(a_->constants().GetItem(u"Brake Balance", constant.Put()), S_OK);
  double value = 0;
  std::u16string text = u"x";
  EXPECT_EQ(constant->GetValue(&value), S_OK);
  EXPECT_DOUBLE_EQ(value, 56.5);
  EXPECT_EQ(constant->GetText(&text), S_OK);
  EXPECT_EQ(text, u"") << "a simple constant has no definition";
  ComPtr<IKivSimpleConstant> simple;
  ASSERT_EQ(constant->QueryInterface(IKivSimpleConstant::iid, reinterpret_cast<void**>(simple.Put())), S_OK);
  std::u16string unit;
  EXPECT_EQ(simple->GetUnit(&unit), S_OK);
  EXPECT_EQ(unit, u"% front");
  ComPtr<IKivConstant> again;
  ASSERT_EQ(a_->constants().GetItem(u"Brake Balance", again.Put()), S_OK);
  EXPECT_EQ(again.Get(), constant.Get()) << "one object while a client holds it";
  EXPECT_EQ(a_->constants().GetItem(u"Ballast", again.Put()), E_INVALIDARG);
  EXPECT_EQ(a_->constants().GetItem(u"", again.Put()), E_INVALIDARG);

  OutingListener& heard = Listen(a_.Get());
  EXPECT_EQ(a_->CloseData(), S_OK);
  EXPECT_THAT(heard.log, ::testing::Contains(::testing::StartsWith("ItemsRemoved:Brake Balance,Front Wing Angle")));
  EXPECT_EQ(constant->GetValue(&value), E_FAIL) << "the object outlives its constant";
  EXPECT_EQ(a_->constants().GetItem(u"Fuel Load", again.Put()), KIV_E_PENDING);
  ASSERT_TRUE(Settle());
  EXPECT_EQ(Names(a_->constants()).size(), 8u);
  ASSERT_EQ(a_->constants().GetItem(u"Fuel Load", again.Put()), S_OK);
  EXPECT_EQ(again->GetValue(&value), S_OK);
  EXPECT_DOUBLE_EQ(value, 60.0);
}

TEST_F(AsciiOutingTest, AReloadWithTheSameDataMakesEventSetsAnewInOneRemovedAndOneAddedNotification) {
  OpenLoaded(PathOf("reload.txt"));
  ComPtr<IKivEventSet> before;
  ASSERT_EQ(a_->event_sets().GetItem(u"End of lap", before.Put()), S_OK);
  OutingListener& heard = Listen(a_.Get());
  a_->OnInformationLoaded(false);
  ASSERT_GE(heard.log.size(), 2u);
  EXPECT_EQ(heard.log[0], "ItemsRemoved:End of lap");
  EXPECT_EQ(heard.log[1], "ItemsAdded:End of lap");
  EXPECT_EQ(heard.log.size(), 2u) << "constants kept their names: nothing to tell";
  ComPtr<IKivEventSet> after;
  ASSERT_EQ(a_->event_sets().GetItem(u"End of lap", after.Put()), S_OK);
  EXPECT_NE(before.Get(), after.Get());
}

}  // namespace
}  // namespace velmar::testing
