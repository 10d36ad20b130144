#include "regions/global_time_groups.h"

#include <cmath>

namespace velmar {
namespace {

std::map<const void*, GlobalTimeGroup>& Table() {
  static std::map<const void*, GlobalTimeGroup> table;
  return table;
}

bool Better(const GlobalTimeAnchor& a, const GlobalTimeAnchor& than) {
  return a.value < than.value || (a.value == than.value && a.offset > than.offset);
}

}  // namespace

void GlobalTimeGroup::Enter(const void* finder, GlobalTimeAnchor anchor) {
  entries[finder] = anchor;
  if (Better(anchor, best)) {
    best = anchor;
    dirty = true;
  }
}

void GlobalTimeGroup::Remove(const void* finder) {
  auto it = entries.find(finder);
  const GlobalTimeAnchor anchor = it == entries.end() ? GlobalTimeAnchor{} : it->second;
  if (!(anchor == best)) {
    if (it != entries.end()) entries.erase(it);
    return;
  }
  best = GlobalTimeAnchor{};
  dirty = true;
  if (it != entries.end()) entries.erase(it);
  for (const auto& [member, entry] : entries) {
    if (Better(entry, best)) best = entry;
  }
}

KivTime GlobalTimeShift(const GlobalTimeAnchor& anchor, const GlobalTimeAnchor& reference) {
  if (!(anchor.value > reference.value || (anchor.value == reference.value && anchor.offset < reference.offset)))
    return 0;
  // Ticks of the clock readings' difference, truncated toward zero.
  return anchor.offset - reference.offset -
         static_cast<KivTime>(std::trunc((anchor.value - reference.value) * 1e7));
}

GlobalTimeGroup& GlobalTimeGroupOf(const void* task) { return Table()[task]; }

GlobalTimeGroup* FindGlobalTimeGroup(const void* task) {
  auto it = Table().find(task);
  return it == Table().end() ? nullptr : &it->second;
}

}  // namespace velmar
