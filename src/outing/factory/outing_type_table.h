// The outing factory's table of built-in types: one row per outing type,
// the row number being the type (OutingType). Row 0 marks a type the table
// does not hold.
//
// Constant data: any thread.
#pragma once

#include <cstddef>
#include <span>
#include <string_view>

#include "velmar/guid.h"
#include "velmar/outing_factory.h"
#include "velmar/types.h"

namespace velmar {

struct OutingTypeRow {
  OutingType type;
  std::span<const std::u16string_view> extensions;  // the first is the main one
  std::u16string_view label;
  Guid typeId;
  bool realTime;

  bool known() const { return type != OutingType::kEmpty; }
  std::u16string_view main_extension() const { return extensions.empty() ? std::u16string_view() : extensions[0]; }
  // The row as a client sees it.
  OutingTypeRecord Record() const;
};

inline constexpr size_t kOutingTypeRowCount = 6;

// The row of `type`, which must be one of the table's.
const OutingTypeRow& OutingTypeRowOf(OutingType type);
// The row whose GUID is `typeId`; row 0 when there is none.
const OutingTypeRow& FindOutingTypeRow(const Guid& typeId);

}  // namespace velmar
