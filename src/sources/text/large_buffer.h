// Big buffers that are filled once (column data, a whole file). They fault
// in page by page, and on a virtual machine each fault is costly: huge pages
// cut the number of faults by 512, where memory is not let go as it fills.
#pragma once

#include <cstddef>
#include <cstdlib>
#include <memory>

namespace velmar {

// Asks the kernel to back the 2 MB-aligned part of [p, p + bytes) with huge
// pages. Only a hint: nothing happens where the platform cannot.
void AdviseHugePages(void* p, size_t bytes);

struct FreeSamples {
  void operator()(double* p) const noexcept { std::free(p); }
};

// Samples in one allocation. Big ones start on a huge page boundary.
using SampleBuffer = std::unique_ptr<double[], FreeSamples>;

// Room for count doubles, not initialised; throws std::bad_alloc.
SampleBuffer AllocateSamples(size_t count);

}  // namespace velmar
