// Objects that a stream can save and load: a data selection persists its
// parts this way, each named by its class identifier.
#pragma once

#include <cstdint>

#include "velmar/guid.h"
#include "velmar/storage.h"
#include "velmar/types.h"
#include "velmar/unknown.h"

namespace velmar {

struct IKivPersistStream : IKivUnknown {
  static constexpr Guid iid = Guid::Literal("{3B0F5A61-7C2E-4D8B-9E14-5A6C7D8E9F01}");
  virtual KivResult GetClassId(Guid* clsid) = 0;
  // S_OK when changed since the last load or clearing save, S_FALSE when not.
  virtual KivResult IsDirty() = 0;
  virtual KivResult Load(IKivStream* stream) = 0;
  // `clearDirty` true: the object counts as saved.
  virtual KivResult Save(IKivStream* stream, KivBool clearDirty) = 0;
  // The most bytes Save writes.
  virtual KivResult GetSizeMax(uint64_t* size) = 0;
  // A new object, not loaded from anywhere: dirty.
  virtual KivResult InitNew() = 0;
};

}  // namespace velmar
