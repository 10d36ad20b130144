// Objects that persist themselves to the settings file: through one stream
// (a data selection's parts, the group database) or through a storage of
// their own (the circuit map), each named by its class identifier.
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

// An object that keeps its state in a storage it is handed. From InitNew or
// Load until HandsOffStorage it may hold that storage and write to it at any
// time; after HandsOffStorage it holds nothing of the file until
// SaveCompleted hands it a storage again.
struct IKivPersistStorage : IKivUnknown {
  static constexpr Guid iid = Guid::Literal("{03E0B708-8F6A-4688-87EC-74C3AB1A3DE0}");
  virtual KivResult GetClassId(Guid* clsid) = 0;
  // S_OK when changed since the last load or saving, S_FALSE when not.
  virtual KivResult IsDirty() = 0;
  // E_POINTER for null; E_UNEXPECTED while a storage is held.
  virtual KivResult InitNew(IKivStorage* storage) = 0;
  virtual KivResult Load(IKivStorage* storage) = 0;
  // `sameAsLoad` true: `storage` is the one it holds, else another file.
  virtual KivResult Save(IKivStorage* storage, KivBool sameAsLoad) = 0;
  // The save is over: go on with `storage`, or with the one held when null.
  virtual KivResult SaveCompleted(IKivStorage* storage) = 0;
  // Lets go of every open element of the file.
  virtual KivResult HandsOffStorage() = 0;
};

}  // namespace velmar
