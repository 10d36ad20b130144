// CColourTable: the ordered palette of the settings file. Every edit tells
// the root through its parent callback, which rewrites the "ColourTable"
// stream and raises ColourTableChanged; a failure there is the edit's
// result, and the edit stays in memory.
//
// Stream "ColourTable": u16 version 1; u32 count; the colours. A version 0
// stream holds an empty table.
//
// Client thread only.
#pragma once

#include <cstdint>
#include <vector>

#include "core/persisted_object.h"
#include "core/velmar_parts.h"
#include "velmar/colour_table.h"

namespace velmar {

class CColourTable final : public KivObject<IKivColourTable, IKivColourTableInternal, CPersistedObject> {
 public:
  // The palette after Reset, in order.
  static const std::vector<uint32_t>& DefaultColours();

  KivResult GetCount(int32_t* count) override;
  KivResult GetColour(int32_t index, uint32_t* colour) override;
  KivResult Add(uint32_t colour) override;
  KivResult Remove(int32_t index) override;
  KivResult SetColour(int32_t index, uint32_t colour) override;
  KivResult Clear() override;

  KivResult SetParentCallback(CColourTableParentCallback* parent) override;

  // CPersistedObject. Reset: the twelve defaults. Load empties the table
  // first; STG_E_OLDDLL for a version above 1.
  static constexpr uint16_t kStreamVersion = 1;
  KivResult Reset() override;
  KivResult Load(IKivStream* stream) override;
  KivResult Save(IKivStream* stream) override;

 private:
  bool InRange(int32_t index) const { return index >= 1 && static_cast<size_t>(index) <= colours_.size(); }
  KivResult Edited();

  std::vector<uint32_t> colours_;
  CColourTableParentCallback* parent_ = nullptr;
};

}  // namespace velmar
