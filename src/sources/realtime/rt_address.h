// Real-time addresses: "rt://host:port/name" (the prefix in any case, a
// trailing "*" on the name sets the star flag) or a host list
// "main|other|...". Both are checked here, before anything connects; a path
// is never tested for existence.
//
// Any thread.
#pragma once

#include <cstdint>
#include <set>
#include <string>
#include <string_view>

namespace velmar {

// How a host name classes; only kValid may be connected to.
enum class RtHostClass : int {
  kEmptyOrBadCharacter = 0,  // empty, a forbidden character, or a bad "-"/"." edge
  kNumeric = 1,              // only digits, "-" and "."
  kNonAscii = 2,             // a character other than ASCII letters, digits, "-" and "."
  kBadIpv4 = 3,              // digits and points, but no dotted IPv4 address
  kValid = 4,
};

RtHostClass ClassifyRtHost(std::u16string_view host);

struct RtAddress {
  std::u16string host;
  uint16_t port = 0;
  std::u16string name;
  bool star = false;
};

// The first form; false when the text is no valid address.
bool ParseRtAddress(std::u16string_view text, RtAddress* address);

struct RtHostList {
  std::u16string mainHost;  // empty: no main host
  std::set<std::u16string> others;
};

// The second form. The list's class is the lowest of its hosts' (a leading
// "|" means no main host, which is fine).
RtHostClass ClassifyRtHostList(std::u16string_view text, RtHostList* list);

}  // namespace velmar
