#include "sources/text/ascii_outing_information.h"

#include <gtest/gtest.h>

#include "sources/text/text_format.h"

namespace velmar {
namespace {

TEST(AsciiOutingInformation, PropertiesOfTheBlockInNameOrder) {
  std::vector<TextInfoEntry> lines = {{u"TrackName", u"Halvane Park"}, {u"SessionNumber", u"4"},
                                      {u"Custom", u"x"},               {u"EngineTest", u"TRUE"},
                                      {u"DriverName", u"Jo Castell"},  {u"DriverName", u"Rita Verne"}};
  auto info = MakeKiv<CAsciiOutingInformation>(InformationToProperties(lines));
  PropertyList all;
  ASSERT_EQ(info->GetProperties(&all), S_OK);
  ASSERT_EQ(all.size(), 6u) << "the four of the block, and the fast lap worked out";
  EXPECT_EQ(all[0], (Property{u"Driver name", Variant::Text(u"Rita Verne")})) << "a later line of a key wins";
  EXPECT_EQ(all[1], (Property{u"Engine test", Variant::Bool(true)}));
  EXPECT_EQ(all[2], (Property{u"Fast lap number", Variant::I32(0)}));
  EXPECT_EQ(all[3], (Property{u"Fast lap time", Variant::Time(0)}));
  EXPECT_EQ(all[4], (Property{u"Session number", Variant::I32(4)}));
  EXPECT_EQ(all[5], (Property{u"Track name", Variant::Text(u"Halvane Park")}));
  Variant v;
  ASSERT_EQ(info->GetProperty(u"Session number", &v), S_OK);
  EXPECT_EQ(v.AsI32(), 4);
}

TEST(AsciiOutingInformation, UnknownNamesNullOutsAndEditsAreRefused) {
  auto info = MakeKiv<CAsciiOutingInformation>(std::vector<InformationProperty>{});
  Variant v;
  EXPECT_EQ(info->GetProperty(u"Driver name", &v), E_INVALIDARG);
  EXPECT_EQ(info->GetProperty(u"Driver name", nullptr), E_POINTER);
  EXPECT_EQ(info->GetProperties(nullptr), E_POINTER);
  EXPECT_EQ(info->SetProperty(u"Driver name", Variant::Text(u"")), E_INVALIDARG) << "an empty text";
  EXPECT_EQ(info->SetProperty(u"Fast lap number", Variant::I32(2)), E_INVALIDARG) << "worked out, not edited";
  EXPECT_EQ(info->SetProperty(u"Driver name", Variant::Text(u"x")), E_FAIL) << "checked; no outing to write to";
  EXPECT_EQ(info->SetProperties({}), E_FAIL);
  EXPECT_EQ(info->Reserved(), E_NOTIMPL);
  EXPECT_FALSE(info->orphaned());
  info->Orphan();
  EXPECT_TRUE(info->orphaned());
}

}  // namespace
}  // namespace velmar
