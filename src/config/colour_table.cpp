#include "config/colour_table.h"

namespace velmar {

const std::vector<uint32_t>& CColourTable::DefaultColours() {
  static const std::vector<uint32_t> kDefaults = {0x0000FF, 0x00FF00, 0xFF0000, 0x00FFFF, 0xFF00FF, 0xFFFF00,
                                                  0x000080, 0x008000, 0x800000, 0x008080, 0x800080, 0x808000};
  return kDefaults;
}

KivResult CColourTable::Edited() { return parent_ ? parent_->OnColourTableEdited() : S_OK; }

KivResult CColourTable::GetCount(int32_t* count) {
  if (!count) return E_POINTER;
  *count = static_cast<int32_t>(colours_.size());
  return S_OK;
}

KivResult CColourTable::GetColour(int32_t index, uint32_t* colour) {
  if (!colour) return E_POINTER;
  if (!InRange(index)) return E_FAIL;
  *colour = colours_[static_cast<size_t>(index - 1)];
  return S_OK;
}

KivResult CColourTable::Add(uint32_t colour) {
  colours_.push_back(colour);
  return Edited();
}

KivResult CColourTable::Remove(int32_t index) {
  if (!InRange(index)) return E_FAIL;
  colours_.erase(colours_.begin() + (index - 1));
  return Edited();
}

KivResult CColourTable::SetColour(int32_t index, uint32_t colour) {
  if (!InRange(index)) return E_FAIL;
  colours_[static_cast<size_t>(index - 1)] = colour;
  return Edited();
}

KivResult CColourTable::Clear() {
  colours_.clear();
  return Edited();
}

KivResult CColourTable::SetParentCallback(CColourTableParentCallback* parent) {
  parent_ = parent;
  return S_OK;
}

KivResult CColourTable::Reset() {
  colours_ = DefaultColours();
  return S_OK;
}

KivResult CColourTable::Load(IKivStream* stream) {
  colours_.clear();
  if (!stream) return Reset();
  return CatchSerialise([&] {
    const auto version = ReadValue<uint16_t>(stream);
    if (version > kStreamVersion) throw CSerialiseException{STG_E_OLDDLL};
    if (version == 0) return;
    const auto count = ReadValue<uint32_t>(stream);
    for (uint32_t i = 0; i < count; ++i) colours_.push_back(ReadValue<uint32_t>(stream));
  });
}

KivResult CColourTable::Save(IKivStream* stream) {
  return CatchSerialise([&] {
    WriteValue<uint16_t>(stream, kStreamVersion);
    WriteValue<uint32_t>(stream, static_cast<uint32_t>(colours_.size()));
    if (!colours_.empty()) WriteExact(stream, colours_.data(), static_cast<uint32_t>(colours_.size() * 4));
  });
}

}  // namespace velmar
