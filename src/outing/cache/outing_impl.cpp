#include "outing/cache/outing_impl.h"

#include <new>

namespace velmar {

KivResult CopyTextOut(const std::u16string& text, std::u16string* out) {
  if (!out) return E_POINTER;
  try {
    *out = text;
  } catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
  }
  return S_OK;
}

}  // namespace velmar
