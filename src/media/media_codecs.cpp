#include "media/media_codecs.h"

#include "velmar/runtime_module.h"

namespace velmar {

MediaCodecs* LoadMediaCodecs(std::string* error) {
  void* entry = nullptr;
  std::string why;
  if (Failed(LoadRuntimeModuleEntry(kMediaCodecsModule, kMediaCodecsEntry, &entry, &why))) {
    if (error) *error = "media module: " + why;
    return nullptr;
  }
  return reinterpret_cast<MediaCodecsEntry>(entry)();
}

}  // namespace velmar
