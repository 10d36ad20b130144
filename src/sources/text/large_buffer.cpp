#include "sources/text/large_buffer.h"

#include <cstdint>
#include <new>

#if defined(__linux__)
#include <sys/mman.h>
#endif

namespace velmar {
namespace {

constexpr size_t kHugePage = size_t{2} << 20;

}  // namespace

void AdviseHugePages(void* p, size_t bytes) {
#if defined(MADV_HUGEPAGE)
  auto start = (reinterpret_cast<uintptr_t>(p) + kHugePage - 1) & ~uintptr_t{kHugePage - 1};
  auto end = (reinterpret_cast<uintptr_t>(p) + bytes) & ~uintptr_t{kHugePage - 1};
  if (end > start) (void)::madvise(reinterpret_cast<void*>(start), end - start, MADV_HUGEPAGE);
#else
  (void)p;
  (void)bytes;
#endif
}

SampleBuffer AllocateSamples(size_t count) {
  if (count > SIZE_MAX / sizeof(double)) throw std::bad_alloc();
  size_t bytes = count * sizeof(double);
  void* p = nullptr;
  if (bytes >= kHugePage) {
    // Only the whole huge pages inside are advised: a partly used one at the
    // end would be backed, and counted, in full.
    p = std::aligned_alloc(kHugePage, bytes);
    if (p) AdviseHugePages(p, bytes);
  } else {
    p = std::malloc(bytes == 0 ? 1 : bytes);
  }
  if (!p) throw std::bad_alloc();
  return SampleBuffer(static_cast<double*>(p));
}

}  // namespace velmar
