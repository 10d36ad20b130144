#include "sources/text/text_writer.h"

#include <algorithm>
#include <cstring>
#include <vector>

#include "sources/text/format_value.h"
#include "sources/text/text_format.h"

namespace velmar {
namespace {

void AppendTag(std::string& out, std::string_view tag) {
  out += kEol;
  out += '{';
  out += tag;
  out += '}';
  out += kEol;
}

// "\tname[unit]" as a header cell; a unit that comes out empty is left off.
void AppendColumnName(std::string& out, std::u16string_view name, std::u16string_view unit) {
  out += '\t';
  out += NameText(name);
  std::string unitText = UnitText(unit);
  if (!unitText.empty()) {
    out += '[';
    out += unitText;
    out += ']';
  }
}

// A key is one token without blanks.
std::string KeyText(std::u16string_view key) {
  std::string text = FieldText(key);
  std::replace(text.begin(), text.end(), ' ', '_');
  return text;
}

// A row must not begin with a blank, or it would not be read as a row.
std::string LeadingFieldText(std::u16string_view text) {
  std::string out = FieldText(text);
  out.erase(0, out.find_first_not_of(' '));
  return out;
}

bool SameTimes(const TextColumn& a, const TextColumn& b) {
  return a.block == b.block && a.count == b.count &&
         (a.count == 0 || a.times().data() == b.times().data() ||
          std::memcmp(a.times().data(), b.times().data(), a.count * sizeof(double)) == 0);
}

// Columns of one block with one time base, written as one table.
void AppendColumnBlock(std::string& out, const std::vector<const TextColumn*>& columns) {
  AppendTag(out, kChannelTag);
  out += kTimeColumn;
  for (const auto* c : columns) AppendColumnName(out, c->name, c->unit);
  out += kEol;
  const TextColumn& first = *columns.front();
  for (uint32_t r = 0; r < first.count; ++r) {
    AppendSeconds(out, first.times()[r]);
    for (const auto* c : columns) {
      out += '\t';
      AppendValue(out, c->values()[r]);
    }
    out += kEol;
  }
}

}  // namespace

std::string NewFileBytes() {
  std::string out(kPlainMagic);
  out += kEol;
  AppendTag(out, kInformationTag);
  return out;
}

void AppendHead(std::string& out) {
  out += kVersionedMagic;
  out += kEol;
  out += kVersionLine;
  out += kEol;
  AppendTag(out, kInformationTag);
}

void AppendInformationLine(std::string& out, std::u16string_view key, std::u16string_view value) {
  std::string keyText = KeyText(key);
  std::string valueText = EscapeValue(FieldText(value, true));
  if (keyText.empty() || valueText.empty()) return;
  out += keyText;
  out += '\t';
  out += valueText;
  out += kEol;
}

void AppendEventBlockHead(std::string& out) {
  AppendTag(out, kEventTag);
  out += kEventHeader;
  out += kEol;
}

void AppendEventRow(std::string& out, const TextEvent& event, KivTime base) {
  AppendTime(out, event.time, base);
  out += '\t';
  out += FieldText(event.name);
  out += '\t';
  out += CategoryText(event.category);
  out += '\t';
  out += FieldText(event.source);
  out += '\t';
  out += FieldText(event.message);
  out += kEol;
}

void AppendConstantBlock(std::string& out, std::span<const TextConstant> constants) {
  AppendTag(out, kConstantTag);
  out += kConstantHeader;
  out += kEol;
  for (const auto& c : constants) {
    std::string name = LeadingFieldText(c.name);
    if (name.empty()) continue;
    out += name;
    out += '\t';
    AppendValue(out, c.value);
    out += '\t';
    out += FieldText(c.comment);
    out += kEol;
  }
}

TextStatus AppendChannelBlock(std::string& out, const TextChannelData& channel, KivTime base) {
  if (channel.times.size() != channel.values.size())
    return {TextCode::kInvalidArgument, "a channel needs one time per value"};
  AppendTag(out, kChannelTag);
  out += kTimeColumn;
  AppendColumnName(out, channel.name, channel.unit);
  out += kEol;
  for (size_t i = 0; i < channel.times.size(); ++i) {
    AppendTime(out, channel.times[i], base);
    out += '\t';
    AppendValue(out, channel.values[i] * channel.factor + channel.offset);
    out += kEol;
  }
  return {};
}

TextGroupSampler::Result ArraySampler::At(KivTime t, double* value) {
  while (next_ < times_.size() && times_[next_] <= t) ++next_;
  if (times_.empty() || t > times_.back()) return Result::kNoMore;
  if (next_ == 0) return Result::kBeforeFirst;
  *value = values_[next_ - 1];
  return Result::kValue;
}

namespace {

constexpr uint64_t kRowsToMeasure = 256;

// Room for `rows` rows in all, at the mean length of the `done` rows after
// `bodyStart` and an eighth more.
void ReserveRows(std::string& out, size_t bodyStart, uint64_t done, uint64_t rows) {
  const double perRow = static_cast<double>(out.size() - bodyStart) / static_cast<double>(done);
  const double wanted = static_cast<double>(out.size()) + perRow * 1.125 * static_cast<double>(rows - done);
  if (wanted < static_cast<double>(out.max_size() / 2)) out.reserve(static_cast<size_t>(wanted));
}

}  // namespace

TextStatus AppendChannelGroupBlock(std::string& out, std::span<const TextGroupChannel> channels, KivTime base) {
  if (channels.empty()) return {TextCode::kInvalidArgument, "a channel group needs a channel"};
  KivTime period = channels.front().period;
  if (period <= 0) return {TextCode::kInvalidArgument, "a channel group needs a positive period"};
  KivTime start = kTimeMax, end = kTimeMin;
  for (const auto& c : channels) {
    if (!c.sampler) return {TextCode::kInvalidArgument, "a channel of the group has no samples"};
    start = std::min(start, c.start);
    end = std::max(end, c.end);
  }
  AppendTag(out, kChannelTag);
  out += kTimeColumn;
  for (const auto& c : channels) AppendColumnName(out, c.name, c.unit);
  out += kEol;
  if (end < start) return {};
  // Unsigned, so that a span across the whole tick range does not overflow.
  uint64_t rows = (static_cast<uint64_t>(end) - static_cast<uint64_t>(start)) / static_cast<uint64_t>(period) + 1;
  std::vector<bool> finished(channels.size(), false);
  const size_t bodyStart = out.size();
  for (uint64_t k = 0; k < rows; ++k) {
    // Sized once from the first rows: grown by doubling, a large block would
    // be copied again and again and held twice while it is.
    if (k == kRowsToMeasure) ReserveRows(out, bodyStart, k, rows);
    auto t = static_cast<KivTime>(static_cast<uint64_t>(start) + k * static_cast<uint64_t>(period));
    size_t rowStart = out.size();
    AppendTime(out, t, base);
    bool allFinished = true;
    for (size_t i = 0; i < channels.size(); ++i) {
      out += '\t';
      if (finished[i]) continue;
      double value = 0;
      switch (channels[i].sampler->At(t, &value)) {
        case TextGroupSampler::Result::kValue:
          AppendValue(out, value * channels[i].factor + channels[i].offset);
          allFinished = false;
          break;
        case TextGroupSampler::Result::kBeforeFirst: allFinished = false; break;
        case TextGroupSampler::Result::kNoMore: finished[i] = true; break;
      }
    }
    if (allFinished) {
      out.resize(rowStart);
      break;
    }
    out += kEol;
  }
  return {};
}

std::string WriteTextDataSet(const TextDataSet& data) {
  std::string out;
  if (data.versioned) {
    AppendHead(out);
  } else {
    out = NewFileBytes();
  }
  for (const auto& line : data.information) AppendInformationLine(out, line.key, line.value);
  if (!data.events.empty()) {
    AppendEventBlockHead(out);
    for (const auto& e : data.events) AppendEventRow(out, e, 0);
  }
  if (!data.constants.empty()) AppendConstantBlock(out, data.constants);
  std::vector<const TextColumn*> group;
  auto flush = [&] {
    if (!group.empty()) AppendColumnBlock(out, group);
    group.clear();
  };
  for (const auto& c : data.columns) {
    if (NameText(c.name).empty() && UnitText(c.unit).empty()) continue;
    if (!group.empty() && !SameTimes(*group.front(), c)) flush();
    group.push_back(&c);
  }
  flush();
  return out;
}

}  // namespace velmar
