#include "sources/text/text_rewrite.h"

#include <algorithm>
#include <vector>

#include "sources/text/text_number.h"
#include "sources/text/text_reader.h"
#include "sources/text/text_writer.h"

namespace velmar {
namespace {

// The versioned head and the old information lines, in file order, except
// those whose key is being replaced.
void AppendRewrittenHead(std::string& out, std::string_view bytes, const TextIndex& index,
                         const std::vector<std::u16string>& replacedKeys) {
  AppendHead(out);
  for (const auto& line : ReadInformation(bytes, index)) {
    if (std::find(replacedKeys.begin(), replacedKeys.end(), line.key) != replacedKeys.end()) continue;
    AppendInformationLine(out, line.key, line.value);
  }
}

// A blank line, then the file from its first data block to its end, without
// the blocks in dropped (which are in file order).
void AppendTail(std::string& out, std::string_view bytes, const TextIndex& index,
                const std::vector<TextBlock>& dropped = {}) {
  out += kEol;
  if (!index.hasData) return;
  size_t pos = index.firstDataPos;
  for (const auto& block : dropped) {
    if (block.tag < pos) continue;
    out.append(bytes.substr(pos, block.tag - pos));
    pos = block.end;
  }
  out.append(bytes.substr(pos));
}

struct TimedEvent {
  double seconds;  // the time the row is written at
  const TextEvent* event;
  KivTime base;
};

std::vector<TimedEvent> Timed(const std::vector<TextEvent>& events, KivTime base) {
  std::vector<TimedEvent> out;
  out.reserve(events.size());
  for (const auto& e : events) out.push_back({TicksToSeconds(e.time, base), &e, base});
  std::stable_sort(out.begin(), out.end(),
                   [](const TimedEvent& a, const TimedEvent& b) { return a.seconds < b.seconds; });
  return out;
}

bool IsRemoved(const TextEvent& e, std::span<const TextEvent> removed) {
  if (e.category != kEventFromAnalysis) return false;  // events from the car stay
  return std::any_of(removed.begin(), removed.end(),
                     [&](const TextEvent& r) { return r.time == e.time && r.name == e.name; });
}

}  // namespace

TextStatus RewriteInformation(std::string_view bytes, const TextIndex& index,
                              std::span<const InformationProperty> properties, std::string* out) {
  std::vector<std::u16string> keys;
  std::vector<std::u16string> values;
  for (const auto& p : properties) {
    const InformationKey* key = FindInformationProperty(p.property);
    if (!key) continue;
    std::optional<std::u16string> value = FormatInformationValue(*key, p.value);
    if (!value) continue;
    keys.emplace_back(key->key);
    values.push_back(std::move(*value));
  }
  std::string result;
  AppendRewrittenHead(result, bytes, index, keys);
  for (size_t i = 0; i < keys.size(); ++i) AppendInformationLine(result, keys[i], values[i]);
  AppendTail(result, bytes, index);
  *out = std::move(result);
  return {};
}

TextStatus RewriteEvents(std::string_view bytes, const TextIndex& index, std::span<const TextEvent> added,
                         KivTime base, std::span<const TextEvent> removed, std::string* out) {
  std::vector<TextEvent> kept = ReadEvents(bytes, index);
  std::erase_if(kept, [&](const TextEvent& e) { return IsRemoved(e, removed); });
  std::vector<TextEvent> fresh(added.begin(), added.end());
  std::vector<TimedEvent> old = Timed(kept, 0);
  std::vector<TimedEvent> add = Timed(fresh, base);

  std::string result;
  AppendRewrittenHead(result, bytes, index, {});
  AppendEventBlockHead(result);
  size_t i = 0, j = 0;
  while (i < old.size() || j < add.size()) {
    bool takeNew = j < add.size() && (i >= old.size() || add[j].seconds <= old[i].seconds);
    const TimedEvent& e = takeNew ? add[j++] : old[i++];
    AppendEventRow(result, *e.event, e.base);
  }
  AppendTail(result, bytes, index, index.eventBlocks);
  *out = std::move(result);
  return {};
}

TextStatus RewriteConstant(std::string_view bytes, const TextIndex& index, ConstantEdit kind,
                           const TextConstant& constant, std::string* out) {
  std::vector<TextConstant> constants = ReadConstants(bytes, index);
  std::erase_if(constants, [&](const TextConstant& c) { return c.name == constant.name; });
  if (kind != ConstantEdit::kRemove) constants.push_back(constant);
  std::string result;
  AppendRewrittenHead(result, bytes, index, {});
  AppendConstantBlock(result, constants);
  AppendTail(result, bytes, index, index.constantBlocks);
  *out = std::move(result);
  return {};
}

bool HasEvent(const std::vector<TextEvent>& events, const TextEvent& event) {
  return std::any_of(events.begin(), events.end(), [&](const TextEvent& e) {
    return e.time == event.time && e.name == event.name && e.source == event.source;
  });
}

}  // namespace velmar
