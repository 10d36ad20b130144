#include "output.h"

#include <gtest/gtest.h>

#include <cmath>
#include <sstream>

#include "progress.h"

namespace velmar::cli {
namespace {

TEST(Output, SecondsAndTicksConvertBothWays) {
  EXPECT_EQ(FormatSeconds(12'500'000), "1.25");
  EXPECT_EQ(FormatSeconds(0), "0");
  EXPECT_EQ(FormatSeconds(-5), "-0.0000005");
  EXPECT_EQ(TicksOfSeconds(1.25), 12'500'000);
  EXPECT_EQ(TicksOfSeconds(-0.00000005), -1) << "half a tick rounds away from zero";
}

TEST(Output, ValuesKeepTenDigitsAndNaNIsEmpty) {
  EXPECT_EQ(FormatValue(1.0 / 3.0), "0.3333333333");
  EXPECT_EQ(FormatValue(-250.0), "-250");
  EXPECT_EQ(FormatValue(std::nullopt), "");
  EXPECT_EQ(FormatValue(std::nan("")), "");
  EXPECT_TRUE(JsonNumber(std::nan("")).is_null());
  EXPECT_TRUE(JsonNumber(INFINITY).is_null());
  EXPECT_EQ(JsonNumber(2.5).get<double>(), 2.5);
}

TEST(Output, ATsvRowIsOneLineWhateverItsFieldsHold) {
  std::ostringstream out;
  WriteTsvRow(out, {"a\tb", "line\nbreak", ""});
  EXPECT_EQ(out.str(), "a b\tline break\t\n");
}

TEST(Output, JsonOfBadUtf8IsStillADocument) {
  std::ostringstream out;
  WriteJson(out, Json{{"name", std::string("bad \xff byte")}});
  EXPECT_TRUE(Json::accept(out.str()));
}

TEST(Progress, TheLineNamesTheFileTheSpinnerAndTheTime) {
  EXPECT_EQ(Progress::Line("a.trn", std::chrono::milliseconds(1500), 0), "[|] loading a.trn  1.5 s");
  EXPECT_EQ(Progress::Line("a.trn", std::chrono::milliseconds(2000), 5), "[/] loading a.trn  2.0 s");
}

}  // namespace
}  // namespace velmar::cli
