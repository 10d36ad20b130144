#include "outing/channels/channel_impl.h"

#include <cfenv>
#if defined(__SSE__) || defined(__x86_64__)
#include <xmmintrin.h>
#endif

namespace velmar {

void MaskFloatingPointExceptions() {
#if defined(__GLIBC__)
  fedisableexcept(FE_ALL_EXCEPT);
#endif
#if defined(__SSE__) || defined(__x86_64__)
  // The SSE unit has a denormal mask of its own, outside FE_ALL_EXCEPT.
  _mm_setcsr(_mm_getcsr() | _MM_MASK_MASK);
#endif
}

}  // namespace velmar
