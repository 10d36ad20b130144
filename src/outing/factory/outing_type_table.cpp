#include "outing/factory/outing_type_table.h"

#include <array>
#include <string>

namespace velmar {
namespace {

constexpr std::u16string_view kTarnExtensions[] = {u"trn"};
constexpr std::u16string_view kMatFileExtensions[] = {u"mat"};
constexpr std::u16string_view kTextExtensions[] = {u"txt"};
constexpr std::u16string_view kSpreadsheetExtensions[] = {u"xls", u"xlsx"};

constexpr std::array<OutingTypeRow, kOutingTypeRowCount> kRows = {{
    {OutingType::kEmpty, {}, {}, GUID_NULL, false},
    {OutingType::kTarn, kTarnExtensions, u"Kivara Dataset", kTarnOutingTypeId, false},
    {OutingType::kMatFile, kMatFileExtensions, u"MATLAB Dataset", kMatFileOutingTypeId, false},
    {OutingType::kText, kTextExtensions, u"ASCII Dataset", kTextOutingTypeId, false},
    {OutingType::kRealTime, {}, u"Kivara Real-time Dataset", kRealTimeOutingTypeId, true},
    {OutingType::kSpreadsheet, kSpreadsheetExtensions, u"Excel Dataset", kSpreadsheetOutingTypeId, false},
}};

}  // namespace

OutingTypeRecord OutingTypeRow::Record() const {
  return OutingTypeRecord{std::u16string(main_extension()), std::u16string(label), typeId.ToWide()};
}

const OutingTypeRow& OutingTypeRowOf(OutingType type) { return kRows.at(static_cast<size_t>(type)); }

const OutingTypeRow& FindOutingTypeRow(const Guid& typeId) {
  if (typeId.IsNull()) return kRows[0];
  for (const OutingTypeRow& row : kRows) {
    if (row.typeId == typeId) return row;
  }
  return kRows[0];
}

}  // namespace velmar
