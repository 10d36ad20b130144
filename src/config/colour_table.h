// CColourTable: the ordered palette of the settings file. Every edit tells
// the root through its parent callback, which rewrites the "ColourTable"
// stream and raises ColourTableChanged; a failure there is the edit's
// result, and the edit stays in memory.
//
// Client thread only.
#pragma once

#include <cstdint>
#include <vector>

#include "core/velmar_parts.h"
#include "velmar/colour_table.h"

namespace velmar {

class CColourTable final : public KivObject<IKivColourTable, IKivColourTableInternal> {
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

 private:
  bool InRange(int32_t index) const { return index >= 1 && static_cast<size_t>(index) <= colours_.size(); }
  KivResult Edited();

  std::vector<uint32_t> colours_;
  CColourTableParentCallback* parent_ = nullptr;
};

}  // namespace velmar
