// The events, constants and blobs of a loaded outing, read through their item
// objects into plain rows.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "loaded_outing.h"
#include "velmar/types.h"

namespace velmar::cli {

struct EventRow {
  std::u16string set;  // the event set (the event's name)
  KivTime time = 0;
  uint32_t category = 0;
  std::u16string source;
  std::u16string message;
};

// Every event of every set, in time order (sets in name order at one time).
std::vector<EventRow> ReadEvents(const LoadedOuting& outing);

struct ConstantRow {
  std::u16string name;
  std::optional<double> value;  // none when the constant could not be read
  std::u16string unit;
};

// Every constant, in the factory's name order.
std::vector<ConstantRow> ReadConstants(const LoadedOuting& outing);

struct BlobRow {
  std::u16string name;
  std::u16string type;  // the type GUID in registry form
  std::vector<uint8_t> bytes;
};

// Every blob with its content, in the factory's name order; throws for a
// blob whose content can't be read.
std::vector<BlobRow> ReadBlobs(const LoadedOuting& outing);

}  // namespace velmar::cli
