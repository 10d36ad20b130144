// Feeds bytes to the text data set reader. What parses must write back and
// read again to the same bytes, keep its columns' times rising, and survive
// each kind of head rewrite with its channels intact.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

#include "sources/text/text_format.h"
#include "sources/text/text_reader.h"
#include "sources/text/text_rewrite.h"
#include "sources/text/text_writer.h"

namespace {

using namespace velmar;

[[noreturn]] void Fail(const char* what) {
  std::fprintf(stderr, "text_fuzz: %s\n", what);
  std::abort();
}

void Check(bool ok, const char* what) {
  if (!ok) Fail(what);
}

TextDataSet Read(std::string_view bytes, bool parallel) {
  TextReadOptions options;
  options.channels.parallelBytes = parallel ? 0 : SIZE_MAX;
  options.problems = [](const TextProblem& p) {
    Check(p.code != TextCode::kOk && p.line > 0, "a problem without code or line");
  };
  TextDataSet data;
  TextStatus st = ReadTextDataSet(bytes, options, &data);
  Check(st.ok(), "bytes we wrote do not read back");
  return data;
}

// Column names and sample counts: what a rewrite of the head must not touch.
std::string ColumnShape(const TextDataSet& data) {
  std::string shape;
  for (const auto& c : data.columns) shape += ToFileText(c.header) + "#" + std::to_string(c.count) + "\n";
  return shape;
}

// Constants as written, since a value may be NaN.
std::string ConstantsText(const TextDataSet& data) {
  std::string out;
  AppendConstantBlock(out, data.constants);
  return out;
}

void CheckColumns(const TextDataSet& data) {
  for (const auto& c : data.columns) {
    for (uint32_t i = 1; i < c.count; ++i) Check(c.times()[i] > c.times()[i - 1], "column times do not rise");
  }
}

void CheckRewrites(std::string_view bytes, const TextDataSet& original) {
  TextIndex index;
  Check(OpenIndex(bytes, {}, &index).ok(), "index of parsed bytes");
  const std::string shape = ColumnShape(original);
  std::string out;

  TextEvent added{12'345'678, u"Fuzz event", kEventFromAnalysis, u"fuzz", u"added"};
  Check(RewriteEvents(bytes, index, {&added, 1}, 0, {}, &out).ok(), "event rewrite");
  TextDataSet withEvent = Read(out, false);
  Check(HasEvent(withEvent.events, added), "added event missing");
  Check(ColumnShape(withEvent) == shape, "event rewrite changed the channels");
  Check(withEvent.versioned, "rewrite without versioned magic");

  TextConstant constant{u"Fuzz constant", 1.5, u"added"};
  Check(RewriteConstant(bytes, index, ConstantEdit::kAdd, constant, &out).ok(), "constant rewrite");
  TextDataSet withConstant = Read(out, false);
  bool found = false;
  for (const auto& c : withConstant.constants) found |= c.name == constant.name && c.value == 1.5;
  Check(found, "added constant missing");
  Check(ColumnShape(withConstant) == shape, "constant rewrite changed the channels");
  Check(withConstant.events == original.events, "constant rewrite changed the events");

  InformationProperty driver{u"Driver name", Variant::Text(u"Fuzz Driver")};
  Check(RewriteInformation(bytes, index, {&driver, 1}, &out).ok(), "information rewrite");
  TextDataSet withInfo = Read(out, false);
  found = false;
  for (const auto& line : withInfo.information) found |= line.key == u"DriverName" && line.value == u"Fuzz Driver";
  Check(found, "written information missing");
  Check(ColumnShape(withInfo) == shape, "information rewrite changed the channels");
  Check(ConstantsText(withInfo) == ConstantsText(original), "information rewrite changed the constants");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  std::string_view bytes(reinterpret_cast<const char*>(data), size);
  TextReadOptions options;
  options.channels.parallelBytes = (size & 1) ? 0 : SIZE_MAX;  // odd sizes split big blocks
  TextDataSet first;
  if (!ReadTextDataSet(bytes, options, &first).ok()) return 0;
  CheckColumns(first);

  // Once written, the data set is a fixed point of read and write.
  std::string once = WriteTextDataSet(first);
  TextDataSet second = Read(once, size & 1);
  CheckColumns(second);
  std::string twice = WriteTextDataSet(second);
  Check(once == twice, "write, read, write is not stable");

  CheckRewrites(bytes, first);
  return 0;
}
