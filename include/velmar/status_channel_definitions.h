// Status channel definitions: how to read a status channel of a native store
// or live outing bit by bit (IKivOuting3::GetStatusChannelDefinitions). A
// read-only tree, shared by reference: definitions, each of one status
// channel; bit fields of a definition; entries of a bit field.
//
// GetItem counts from 1: an index below 1 or above the count gives
// E_INVALIDARG before a null out is looked at (E_POINTER). Getters give
// E_POINTER on a null out, except the entry's, which give E_INVALIDARG.
#pragma once

#include <cstdint>
#include <string>

#include "velmar/guid.h"
#include "velmar/types.h"
#include "velmar/unknown.h"

namespace velmar {

// The type of the blob in an outing that holds its definitions.
inline constexpr Guid kStatusDefinitionsBlobType = Guid::Literal("{301DA768-0613-42BE-A543-9B63C1E396C7}");

struct IKivBitFieldDefinitionEntry : IKivUnknown {
  static constexpr Guid iid = Guid::Literal("{BA32D71E-4ECF-4CF4-8A1C-993E6B930E6C}");
  virtual KivResult GetValueA(uint32_t* value) = 0;
  virtual KivResult GetText(std::u16string* text) = 0;
  virtual KivResult GetValueB(uint32_t* value) = 0;
};

struct IKivBitFieldDefinition : IKivUnknown {
  static constexpr Guid iid = Guid::Literal("{23FC2D49-64E3-4E72-A27C-BFCFBBE7AB17}");
  virtual KivResult GetCount(int32_t* count) = 0;
  virtual KivResult GetTextA(std::u16string* text) = 0;
  virtual KivResult GetTextB(std::u16string* text) = 0;
  virtual KivResult GetValueA(uint32_t* value) = 0;
  virtual KivResult GetTextC(std::u16string* text) = 0;
  virtual KivResult GetValueB(uint32_t* value) = 0;
  virtual KivResult GetItem(int32_t index, IKivBitFieldDefinitionEntry** entry) = 0;
};

struct IKivStatusChannelDefinition : IKivUnknown {
  static constexpr Guid iid = Guid::Literal("{EC54247B-2F7B-476F-94E0-011BBB9E5A3B}");
  virtual KivResult GetCount(int32_t* count) = 0;
  // The key text of the status channel ("[id]name").
  virtual KivResult GetChannelKeyText(std::u16string* key) = 0;
  virtual KivResult GetValue(uint32_t* value) = 0;
  virtual KivResult GetItem(int32_t index, IKivBitFieldDefinition** field) = 0;
};

struct IKivStatusChannelDefinitions : IKivUnknown {
  static constexpr Guid iid = Guid::Literal("{B1BC7AC9-EF83-467F-97C0-DC694DCD3452}");
  virtual KivResult GetCount(int32_t* count) = 0;
  virtual KivResult GetItem(int32_t index, IKivStatusChannelDefinition** definition) = 0;
};

}  // namespace velmar
