// The table slot of a virtual member, for tests that pin an interface's
// binary layout (hosts built against an older header call by slot).
#pragma once

#include <cstddef>
#include <cstring>

namespace velmar::testing {

#if defined(__GNUC__) && !defined(_MSC_VER)
#define VELMAR_HAS_VTABLE_SLOT 1
// Under the Itanium ABI a pointer to a virtual member holds 1 + its byte
// offset in the table.
template <class M>
size_t VtableSlot(M member) {
  ptrdiff_t raw = 0;
  std::memcpy(&raw, &member, sizeof raw);
  return static_cast<size_t>(raw - 1) / sizeof(void*);
}
#endif

}  // namespace velmar::testing
