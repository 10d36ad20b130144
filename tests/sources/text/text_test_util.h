// Small helpers shared by the text data set tests.
#pragma once

#include <gtest/gtest.h>

#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

#include <nlohmann/json.hpp>

#include "sources/text/text_reader.h"
#include "sources/text/text_status.h"
#include "velmar/text.h"
#include "velmar/variant.h"

namespace velmar::testing {

// Lines joined and ended by eol (CR LF unless told).
inline std::string Lines(std::initializer_list<std::string_view> lines, std::string_view eol = "\r\n") {
  std::string out;
  for (auto l : lines) {
    out += l;
    out += eol;
  }
  return out;
}

// A fixture's lines, each ended by CR LF.
inline std::string FixtureLines(const nlohmann::json& lines) {
  std::string out;
  for (const auto& l : lines) out += l.get<std::string>() + "\r\n";
  return out;
}

inline std::u16string FixtureWide(const nlohmann::json& text) { return Utf8ToWide(text.get<std::string>()); }

// A property value of a fixture: a boolean, a 32-bit number or a text.
inline Variant FixtureVariant(const nlohmann::json& v) {
  if (v.is_boolean()) return Variant::Bool(v.get<bool>());
  return v.is_number() ? Variant::I32(v.get<int32_t>()) : Variant::Text(FixtureWide(v));
}

// `want` within `got`: of objects the keys `want` has, arrays item by item.
inline void ExpectWithin(const nlohmann::json& got, const nlohmann::json& want, const std::string& at) {
  if (want.is_object() && got.is_object()) {
    for (const auto& [key, value] : want.items()) ExpectWithin(got.value(key, nlohmann::json()), value, at + "." + key);
  } else if (want.is_array() && got.is_array() && want.size() == got.size()) {
    for (size_t i = 0; i < want.size(); ++i) ExpectWithin(got[i], want[i], at + "[" + std::to_string(i) + "]");
  } else {
    EXPECT_EQ(got, want) << at;
  }
}

// Each result in `got` that the case `c` gives, checked within it.
inline void ExpectGiven(const nlohmann::json& got, const nlohmann::json& c) {
  for (const auto& [key, value] : got.items()) {
    if (c.contains(key)) ExpectWithin(value, c[key], key);
  }
}

// Gathers reported problems.
struct Problems {
  std::vector<TextProblem> items;
  ProblemSink sink() {
    return [this](const TextProblem& p) { items.push_back(p); };
  }
  bool Has(TextCode code, uint64_t line) const {
    for (const auto& p : items)
      if (p.code == code && p.line == line) return true;
    return false;
  }
  bool Has(const nlohmann::json& name, const nlohmann::json& line) const {
    for (const auto& p : items)
      if (TextCodeName(p.code) == name.get<std::string>() && p.line == line.get<uint64_t>()) return true;
    return false;
  }
  size_t Count(TextCode code) const {
    size_t n = 0;
    for (const auto& p : items) n += p.code == code;
    return n;
  }
};

// Reads bytes that must parse.
inline TextDataSet MustRead(std::string_view bytes, Problems* problems = nullptr, ChannelReadOptions channels = {}) {
  TextReadOptions options;
  options.channels = channels;
  if (problems) options.problems = problems->sink();
  TextDataSet data;
  TextStatus st = ReadTextDataSet(bytes, options, &data);
  EXPECT_TRUE(st.ok()) << st.ToString();
  return data;
}

inline std::vector<double> Times(const TextColumn& c) { return {c.times().begin(), c.times().end()}; }
inline std::vector<double> Values(const TextColumn& c) { return {c.values().begin(), c.values().end()}; }

}  // namespace velmar::testing
