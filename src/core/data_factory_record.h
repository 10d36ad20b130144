// A data factory as the root's lists name it: native by class identity,
// managed by type name. The mandatory list, the wanted lists and the stored
// list all use this form; an active entry adds the running objects.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "velmar/guid.h"
#include "velmar/unknown.h"

namespace velmar {

enum class DataFactoryKind : uint32_t { kNative = 0, kManaged = 1 };

struct DataFactoryRecord {
  DataFactoryKind kind = DataFactoryKind::kNative;
  Guid clsid;                 // kNative
  std::u16string typeName;    // kManaged

  static DataFactoryRecord Native(const Guid& clsid) { return {DataFactoryKind::kNative, clsid, {}}; }
  static DataFactoryRecord Managed(std::u16string typeName) {
    return {DataFactoryKind::kManaged, GUID_NULL, std::move(typeName)};
  }
  // Native records match by class identity, managed ones by type name
  // (case sensitive); records of different kinds never match.
  bool SameFactory(const DataFactoryRecord& other) const {
    if (kind != other.kind) return false;
    return kind == DataFactoryKind::kNative ? clsid == other.clsid : typeName == other.typeName;
  }
  friend bool operator==(const DataFactoryRecord&, const DataFactoryRecord&) = default;
};

using DataFactoryRecords = std::vector<DataFactoryRecord>;

// A running data factory: its record, its main reference and its node in
// the object tree, when it has one.
struct ActiveDataFactory {
  DataFactoryRecord record;
  ComPtr<IKivUnknown> factory;
  ComPtr<IKivUnknown> node;
};

using ActiveDataFactories = std::vector<ActiveDataFactory>;

}  // namespace velmar
