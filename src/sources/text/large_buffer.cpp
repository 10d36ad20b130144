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
  // Not advised for huge pages: one would be backed whole at the first row
  // written, so every column would take its memory at once, before the rows
  // read have given theirs back. Aligned all the same, so that a caller that
  // fills a buffer at once can advise it (AdviseHugePages).
  void* p = bytes >= kHugePage ? std::aligned_alloc(kHugePage, bytes) : std::malloc(bytes == 0 ? 1 : bytes);
  if (!p) throw std::bad_alloc();
  return SampleBuffer(static_cast<double*>(p));
}

}  // namespace velmar
