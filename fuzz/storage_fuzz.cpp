// Feeds arbitrary bytes to the compound file reader. A file that opens is
// walked through the storage interfaces, written back and read again: the
// rewrite of anything readable must itself be readable.
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "velmar/storage.h"

namespace {

using velmar::ComPtr;
using velmar::IKivStorage;
using velmar::IKivStream;

constexpr uint32_t kMode = velmar::STGM_READWRITE | velmar::STGM_SHARE_EXCLUSIVE;

void Walk(IKivStorage* storage, int depth) {
  std::vector<velmar::StatStg> elements;
  if (depth > 64 || velmar::Failed(storage->EnumElements(&elements))) return;
  for (const auto& e : elements) {
    if (e.type == velmar::STGTY_STORAGE) {
      ComPtr<IKivStorage> sub;
      if (velmar::Succeeded(storage->OpenStorage(e.name, kMode | velmar::STGM_TRANSACTED, sub.Put())))
        Walk(sub.Get(), depth + 1);
    } else {
      ComPtr<IKivStream> stream;
      if (velmar::Failed(storage->OpenStream(e.name, kMode, stream.Put()))) continue;
      std::string bytes(static_cast<size_t>(e.size), '\0');
      uint32_t read = 0;
      (void)stream->Read(bytes.data(), static_cast<uint32_t>(bytes.size()), &read);
      if (read != e.size) std::abort();
    }
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  std::string_view bytes(reinterpret_cast<const char*>(data), size);
  ComPtr<IKivStorage> root;
  if (velmar::Failed(velmar::StgOpenMemoryStorage(bytes, kMode | velmar::STGM_TRANSACTED, root.Put())))
    return 0;
  Walk(root.Get(), 0);
  std::string rewritten;
  if (velmar::Failed(velmar::StgSaveToBytes(root.Get(), &rewritten))) std::abort();
  ComPtr<IKivStorage> again;
  if (velmar::Failed(velmar::StgOpenMemoryStorage(rewritten, kMode, again.Put()))) std::abort();
  return 0;
}
