// The status definitions blob, as an outing's blob brings it.
#include <cstddef>
#include <cstdint>
#include <span>

#include "config/status_channel_definitions.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const auto tree = velmar::StatusChannelDefinitionsFromBlob(std::span(data, size), {{u"G", u"[1]G"}});
  int32_t count = 0;
  (void)tree->GetCount(&count);
  return 0;
}
