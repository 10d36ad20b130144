#include "core/addin_manager.h"

#include "core/managed_factory_bridge.h"

#include <algorithm>
#include <mutex>
#include <optional>

#include "velmar/text.h"
#include "velmar/velmar.h"

namespace velmar {
namespace {

KivAddInManagerDialog& Dialog() {
  static KivAddInManagerDialog dialog;
  return dialog;
}

bool ValidRow(const std::vector<KivAddInRow>& rows, int32_t row) {
  return row >= 0 && static_cast<size_t>(row) < rows.size();
}

}  // namespace

bool KivAddInManager::Toggle(int32_t row) {
  if (!ValidRow(rows_, row)) return false;
  rows_[row].checked = !rows_[row].checked;
  selected_ = row;
  return true;
}

bool KivAddInManager::Select(int32_t row) {
  if (!ValidRow(rows_, row)) return false;
  selected_ = row;
  return true;
}

bool KivAddInManager::MoveUp() {
  if (!CanMoveUp()) return false;
  std::swap(rows_[selected_], rows_[selected_ - 1]);
  --selected_;
  return true;
}

bool KivAddInManager::MoveDown() {
  if (!CanMoveDown()) return false;
  std::swap(rows_[selected_], rows_[selected_ + 1]);
  ++selected_;
  return true;
}

int32_t KivAddInManager::Find(const std::u16string& id) const {
  const std::optional<Guid> clsid = Guid::Parse(id);
  for (size_t i = 0; i < rows_.size(); ++i) {
    const KivAddInRow& row = rows_[i];
    const bool same = row.kind == 0 ? clsid && *clsid == row.clsid : row.type_name == id;
    if (same) return static_cast<int32_t>(i);
  }
  return -1;
}

void KivSetAddInManagerDialog(KivAddInManagerDialog dialog) { Dialog() = std::move(dialog); }

KivAddInManagerDialog CurrentAddInManagerDialog() { return Dialog(); }

std::u16string StripKivaraPrefix(std::u16string name) {
  constexpr std::u16string_view kPrefix = u"kivara ";
  if (name.size() >= kPrefix.size() && ToLowerWide(std::u16string_view(name).substr(0, kPrefix.size())) == kPrefix)
    name.erase(0, kPrefix.size());
  return name;
}

DataFactoryRecord RecordOf(const KivAddInRow& row) {
  return row.kind == 0 ? DataFactoryRecord::Native(row.clsid) : DataFactoryRecord::Managed(row.type_name);
}

std::vector<KivAddInRow> ReadAvailableDataFactories(const ClassRegistry& registry) {
  std::vector<Guid> classes;
  if (Failed(registry.EnumClassesOfCategory(CATID_KivDataFactory, &classes))) return {};
  std::vector<KivAddInRow> rows;
  for (const Guid& clsid : classes) {
    KivAddInRow row;
    row.clsid = clsid;
    (void)registry.GetUserTypeName(clsid, &row.display_name);
    row.display_name = StripKivaraPrefix(std::move(row.display_name));
    rows.push_back(std::move(row));
  }
  return rows;
}

std::vector<KivAddInRow> AvailableDataFactories() {
  static std::once_flag once;
  static std::vector<KivAddInRow> native;
  std::call_once(once, [] { native = ReadAvailableDataFactories(ClassRegistry::Process()); });
  std::vector<KivAddInRow> rows = native;
  if (ManagedFactoryBridge* bridge = CurrentManagedFactoryBridge()) {
    for (KivAddInRow& row : bridge->Available()) rows.push_back(std::move(row));
  }
  return rows;
}

std::vector<KivAddInRow> MakeAddInRows(std::vector<KivAddInRow> available, const DataFactoryRecords& working,
                                       const std::function<bool(const DataFactoryRecord&)>& shown) {
  std::erase_if(available, [&](const KivAddInRow& row) { return !shown(RecordOf(row)); });
  std::stable_sort(available.begin(), available.end(),
                   [](const KivAddInRow& a, const KivAddInRow& b) { return a.display_name < b.display_name; });
  size_t place = 0;
  for (const DataFactoryRecord& record : working) {
    auto it = std::find_if(available.begin() + place, available.end(),
                           [&](const KivAddInRow& row) { return RecordOf(row).SameFactory(record); });
    if (it == available.end()) continue;
    it->checked = true;
    std::rotate(available.begin() + place, it, it + 1);
    ++place;
  }
  return available;
}

DataFactoryRecords CheckedRecords(const KivAddInManager& model) {
  DataFactoryRecords records;
  for (const KivAddInRow& row : model.Rows()) {
    if (row.checked) records.push_back(RecordOf(row));
  }
  return records;
}

}  // namespace velmar
