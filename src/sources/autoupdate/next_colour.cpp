#include "sources/autoupdate/next_colour.h"

#include <algorithm>
#include <set>

#include "velmar/velmar.h"

namespace velmar {
namespace {

constexpr uint32_t kNoColour = 255;

// The colours of the task's selections but `added`, and the count of all.
std::vector<uint32_t> OtherColours(IKivTask* task, IKivDataSelection* added, size_t* count) {
  std::vector<uint32_t> colours;
  ComPtr<IKivDataSelections> selections;
  int32_t n = 0;
  if (Failed(task->GetSelections(selections.Put())) || Failed(selections->GetCount(&n))) n = 0;
  *count = static_cast<size_t>(n);
  for (int32_t i = 1; i <= n; ++i) {
    ComPtr<IKivDataSelection4> selection;
    uint32_t colour = 0;
    if (Succeeded(selections->GetItem(i, selection.Put())) && selection.Get() != added &&
        Succeeded(selection->GetColour(&colour)))
      colours.push_back(colour);
  }
  return colours;
}

}  // namespace

int32_t NextColourIndex(const std::vector<uint32_t>& otherColours, size_t selectionCount,
                        const std::vector<uint32_t>& table) {
  if (table.empty()) return 0;
  std::set<size_t> used;  // indexes from 1
  for (uint32_t colour : otherColours) {
    const auto at = std::find(table.begin(), table.end(), colour);
    if (at != table.end()) used.insert(static_cast<size_t>(at - table.begin()) + 1);
  }
  for (size_t index = 1; index <= table.size(); ++index)
    if (!used.count(index)) return static_cast<int32_t>(index);
  const size_t wrapped = selectionCount % table.size();
  return static_cast<int32_t>(wrapped == 0 ? table.size() : wrapped);
}

std::vector<uint32_t> ReadColourTable(IKivColourTable* table) {
  std::vector<uint32_t> colours;
  int32_t count = 0;
  if (!table || Failed(table->GetCount(&count))) return colours;
  for (int32_t i = 1; i <= count; ++i) {
    uint32_t colour = 0;
    if (Failed(table->GetColour(i, &colour))) return {};
    colours.push_back(colour);
  }
  return colours;
}

uint32_t NextColour(IKivTask* task, IKivDataSelection* added) {
  ComPtr<IKivVelmar> root;
  ComPtr<IKivColourTable> table;
  if (Failed(task->GetRoot(root.Put()))) return kNoColour;
  auto withTable = root.As<IKivVelmar6>();
  if (!withTable || Failed(withTable->GetColourTable(table.Put()))) return kNoColour;
  const std::vector<uint32_t> colours = ReadColourTable(table.Get());
  size_t count = 0;
  const std::vector<uint32_t> others = OtherColours(task, added, &count);
  const int32_t index = NextColourIndex(others, count, colours);
  return index >= 1 ? colours[static_cast<size_t>(index) - 1] : kNoColour;
}

}  // namespace velmar
