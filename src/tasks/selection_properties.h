// The "Data Selection Properties" stream of a data selection: a 48-byte
// header (version 5) and four texts (region name, the outing's path, the
// outing's type id, the label). Headers of versions 1 to 4 still load; the
// selection then writes them back in version 5 form.
#pragma once

#include <cstdint>
#include <string>

#include "velmar/storage.h"
#include "velmar/types.h"

namespace velmar {

inline constexpr uint32_t kSelectionHeaderSize = 48;
inline constexpr uint32_t kSelectionHeaderVersion = 5;

struct SelectionProperties {
  uint32_t colour = 255;
  KivTime start = 0;
  KivTime end = 1;
  KivTime timeOffset = 0;
  bool includeAuxiliary = false;
  bool clientFlag = false;
  bool overrideProperties = false;
  std::u16string regionName = u"Empty";
  std::u16string path;
  std::u16string outingId;  // braced type id of the outing's kind; empty for none
  std::u16string label;
  uint32_t version = kSelectionHeaderVersion;  // as read
};

// From the start of the stream: every version up to 5. E_FAIL for a short
// or damaged stream, STG_E_OLDDLL for a newer version.
[[nodiscard]] KivResult ReadSelectionProperties(IKivStream* stream, SelectionProperties* out);
// The header alone, in place at the start.
[[nodiscard]] KivResult WriteSelectionHeader(IKivStream* stream, const SelectionProperties& p);
// The four texts after the header; the stream ends after them.
[[nodiscard]] KivResult WriteSelectionTexts(IKivStream* stream, const SelectionProperties& p);

}  // namespace velmar
