#include "sources/text/text_format.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <limits>
#include <map>
#include <random>
#include <string>

#include "sources/text/format_value.h"
#include "sources/text/text_number.h"
#include "sources/text/text_tokens.h"
#include "support/fixtures.h"
#include "text_test_util.h"
#include "velmar/text.h"

namespace velmar {
namespace {

TEST(TextFormatEscape, EachFixtureCase) {
  const auto table = testing::Fixture("sources/escaped_values.json");
  for (const auto& c : table["both_ways"]) {
    EXPECT_EQ(EscapeValue(c[0].get<std::string>()), c[1].get<std::string>()) << c;
    EXPECT_EQ(UnescapeValue(c[1].get<std::string>()), c[0].get<std::string>()) << c;
  }
  for (const auto& c : table["read_only"]) {
    EXPECT_EQ(UnescapeValue(c[0].get<std::string>()), c[1].get<std::string>()) << c;
  }
}

// Each table of the file: calls of one function, [argument, result].
TEST(TextFormatCalls, EachTableOfTheFixture) {
  using nlohmann::json;
  using testing::FixtureWide;
  using testing::FixtureVariant;
  const auto text = [](const auto& t) { return t ? json(WideToUtf8(*t)) : json(); };
  const std::map<std::string, std::function<json(const json&)>> calls = {
      {"field_text", [](const json& a) { return json(FieldText(FixtureWide(a))); }},
      {"field_text_keeping_breaks", [](const json& a) { return json(FieldText(FixtureWide(a), true)); }},
      {"name_text", [](const json& a) { return json(NameText(FixtureWide(a))); }},
      {"unit_text", [](const json& a) { return json(UnitText(FixtureWide(a))); }},
      {"category_text", [](const json& a) { return json(std::string(CategoryText(a))); }},
      {"category_from_text", [](const json& a) { return json(CategoryFromText(FixtureWide(a))); }},
      {"information_key", [&](const json& a) {
         const InformationKey* key = FindInformationProperty(FixtureWide(a));
         return text(key ? std::optional(key->key) : std::nullopt);
       }},
      {"information_value", [&](const json& a) {
         return text(FormatInformationValue(*FindInformationProperty(FixtureWide(a[0])), FixtureVariant(a[1])));
       }},
      {"number_flags", [](const json& a) {
         const ParsedNumber n = ParseNumber(a.get<std::string>());
         return json{n.converted, n.trailing};
       }},
      {"information_to_properties", [](const json& a) {  // [key, value] lines
         std::vector<TextInfoEntry> lines;
         for (const json& l : a) lines.push_back({FixtureWide(l[0]), FixtureWide(l[1])});
         int32_t firstLap = 0;
         json properties = json::array();
         for (const auto& [name, v] : InformationToProperties(lines, &firstLap)) {
           properties.push_back({WideToUtf8(name), v.AsBool()  ? json(*v.AsBool())
                                                   : v.AsI32() ? json(*v.AsI32())
                                                               : json(WideToUtf8(v.ToText()))});
         }
         return json{{"first_lap", firstLap}, {"properties", properties}};
       }},
      {"token_reads", [](const json& a) {  // [line, steps] -> [text, end, error] of each read, then at the end
         const std::string line = a[0];
         TokenCursor cursor(line);
         json got;
         for (const json& step : a[1]) {
           if (step == "skip_blanks") cursor.SkipBlanks();
           if (step == "skip_to_tab") cursor.SkipToNextTab();
           if (!step.is_boolean()) continue;
           const Token t = cursor.Read(step.get<bool>());  // may blanks be in it
           got.push_back({std::string(t.text), std::string(1, t.end), std::vector{"", "empty", "brace"}[int(t.error)]});
         }
         return got.push_back(cursor.AtEnd()), got;
       }},
      {"line_at", [](const json& a) {  // [bytes, start, limit] -> [line, where the next starts]
         size_t next = 0;
         const std::string line(LineAt(a[0].get<std::string>(), a[1], a[2], &next));
         return json{line, next};
       }},
      {"ticks_to_seconds", [](const json& a) { return json(TicksToSeconds(a[0], a[1])); }},  // [time, base]
      {"seconds_to_ticks", [](const json& a) {
         const auto ticks = SecondsToTicks(testing::FixtureNumber(a));  // half away from zero, in range
         return ticks ? json(*ticks) : json();
       }},
      {"seconds", [](const json& a) {  // an exact tie rounds to even, as printf does
         std::string out;
         AppendSeconds(out, a.get<double>());
         return json(out);
       }},
  };
  const json table = testing::Fixture("sources/text/format_calls.json");
  for (const auto& [name, call] : calls) {
    for (const json& c : table[name]) EXPECT_EQ(call(c[0]), c[1]) << name << " " << c;
  }
}

TEST(TextFormatFields, CodePageEdge) {
  EXPECT_EQ(ToFileText(u"caf\u00e9 \u20ac"), "caf\xe9 \x80");
  EXPECT_EQ(FromFileText("caf\xe9 \x80"), u"caf\u00e9 \u20ac");
  EXPECT_EQ(ToFileText(u"P\u2082"), "P?");  // in names "_", see format_calls
}

TEST(TextTokens, KeepAt4095Characters) {
  std::string line(5000, 'x');
  line += "\tnext";
  TokenCursor c(line);
  Token t = c.Read(true);
  EXPECT_TRUE(t.ok());
  EXPECT_TRUE(t.truncated);
  EXPECT_EQ(t.text.size(), 4095u);
  EXPECT_EQ(c.Read(true).text, "next");  // the rest of the long token was skipped
}

// Same bits, or both NaN.
void ExpectSameDouble(double a, double b, const std::string& what) {
  if (std::isnan(a) || std::isnan(b)) {
    EXPECT_TRUE(std::isnan(a) && std::isnan(b)) << what;
    return;
  }
  EXPECT_EQ(std::memcmp(&a, &b, sizeof a), 0) << what << ": " << a << " vs " << b;
}

TEST(TextNumber, AgreesWithAtofOnTrickyStrings) {
  for (const auto table = testing::Fixture("sources/number_texts.json"); const auto& text : table["cases"]) {
    const std::string held = text.get<std::string>();
    const char* s = held.c_str();
    ParsedNumber n = ParseNumber(s);
    ExpectSameDouble(n.value, std::atof(s), std::string("\"") + s + "\"");
    char* end = nullptr;
    std::strtod(s, &end);
    EXPECT_EQ(n.converted, end != s) << s;
  }
}

TEST(TextNumber, AgreesWithAtofOnRandomDecimals) {
  std::mt19937_64 rng(42);
  std::uniform_int_distribution<int> digits(1, 25), exponent(-330, 310), len(0, 6);
  for (int i = 0; i < 20000; ++i) {
    std::string s = (rng() & 1) ? "-" : "";
    int n = digits(rng);
    for (int k = 0; k < n; ++k) s += static_cast<char>('0' + rng() % 10);
    if (rng() & 1) s.insert(s.size() - static_cast<size_t>(rng() % n), ".");
    if (rng() % 3 == 0) s += "e" + std::to_string(exponent(rng));
    ExpectSameDouble(ParseNumber(s).value, std::atof(s.c_str()), s);
  }
}

TEST(TextNumber, ReadsOnlyTheFirst4095Characters) {
  // 4094 digits, then an exponent that the cut leaves behind.
  std::string cut = "1" + std::string(4093, '0') + "e-4093";
  EXPECT_EQ(std::atof(cut.c_str()), 1.0);
  EXPECT_TRUE(std::isinf(ParseNumber(cut).value));
  std::string fits = "1" + std::string(4088, '0') + "e-4088";
  ASSERT_EQ(fits.size(), kMaxToken);
  EXPECT_EQ(ParseNumber(fits).value, 1.0);
}

std::string Format(double v) {
  char buf[kFormatValueSize];
  size_t n = FormatValue(v, buf);
  EXPECT_EQ(std::strlen(buf), n);
  return std::string(buf, n);
}

// What printf makes by the documented rule.
std::string Reference(double v) {
  char buf[64];
  double m = std::fabs(v);
  if (m < 9999.9999995) {
    std::snprintf(buf, sizeof buf, "%.*f", 6, v);
  } else if (m < 9999999999.5) {
    std::snprintf(buf, sizeof buf, "%#.*g", 10, v);
    size_t n = std::strlen(buf);
    if (n && buf[n - 1] == '.') buf[n - 1] = '\0';
  } else {
    std::snprintf(buf, sizeof buf, "%#.*e", 4, v);
  }
  return buf;
}

std::string Seconds(double s) {
  std::string out;
  AppendSeconds(out, s);
  return out;
}

TEST(FormatValue, EachFixtureCaseAndNonFiniteValues) {
  for (const auto table = testing::Fixture("sources/formatted_values.json"); const auto& c : table["cases"]) {
    EXPECT_EQ(Format(c[0].get<double>()), c[1].get<std::string>()) << c[0];
  }
  // The double nearest 9999.9999995 lies just below it: ten digits round down.
  EXPECT_EQ(Format(9999.9999995), Reference(9999.9999995));
  EXPECT_EQ(Format(std::numeric_limits<double>::infinity()), Reference(std::numeric_limits<double>::infinity()));
  EXPECT_EQ(Format(-std::numeric_limits<double>::infinity()), "-inf");
  EXPECT_EQ(Format(std::nan("")), Reference(std::nan("")));
}

TEST(FormatValue, MatchesPrintfAcrossMagnitudes) {
  std::mt19937_64 rng(7);
  std::uniform_real_distribution<double> mantissa(1.0, 10.0);
  std::uniform_int_distribution<int> exponent(-12, 14);
  for (int i = 0; i < 200000; ++i) {
    double v = mantissa(rng) * std::pow(10.0, exponent(rng)) * ((rng() & 1) ? -1 : 1);
    ASSERT_EQ(Format(v), Reference(v)) << v;
  }
  for (double edge : {9999.9999995, 9999999999.5, 99999.999995, 999999.99995, 9999999.9995}) {
    for (int k = -64; k <= 64; ++k) {
      double v = std::nextafter(edge, k < 0 ? 0.0 : 1e300);
      for (int s = 0; s < std::abs(k); ++s) v = std::nextafter(v, k < 0 ? 0.0 : 1e300);
      ASSERT_EQ(Format(v), Reference(v)) << v;
    }
  }
}

TEST(FormatValue, TimesHaveSevenDecimals) {
  std::string out;
  AppendTime(out, 12'345'678, 2'345'678);
  EXPECT_EQ(out, "1.0000000");
  std::mt19937_64 rng(3);
  for (int i = 0; i < 50000; ++i) {
    double s = static_cast<double>(static_cast<int64_t>(rng() % 100'000'000'000ull)) / 1e7;
    char buf[64];
    std::snprintf(buf, sizeof buf, "%.7f", s);
    ASSERT_EQ(Seconds(s), buf);
  }
}

}  // namespace
}  // namespace velmar
