#include "sources/realtime/rt_address.h"

#include <algorithm>

namespace velmar {

namespace {

constexpr std::u16string_view kPrefix = u"rt://";
constexpr std::u16string_view kForbidden = u"`~!@#$^&*()=+[]{}\\|;:'\",<>/? ";
constexpr size_t kNameLimit = 32;

bool IsDigit(char16_t c) { return c >= u'0' && c <= u'9'; }
bool IsLetter(char16_t c) { return (c >= u'a' && c <= u'z') || (c >= u'A' && c <= u'Z'); }

// Four decimal parts of 0 to 255, each one to three digits.
bool IsDottedIpv4(std::u16string_view host) {
  int parts = 0;
  size_t at = 0;
  while (at <= host.size()) {
    const size_t end = std::min(host.find(u'.', at), host.size());
    const std::u16string_view part = host.substr(at, end - at);
    if (part.empty() || part.size() > 3) return false;
    int value = 0;
    for (const char16_t c : part) value = value * 10 + (c - u'0');
    if (value > 255) return false;
    ++parts;
    at = end + 1;
  }
  return parts == 4;
}

// An unsigned decimal port of 0 to 65535.
bool ParsePort(std::u16string_view text, uint16_t* port) {
  if (text.empty() || text.size() > 5 || !std::all_of(text.begin(), text.end(), IsDigit)) return false;
  uint32_t value = 0;
  for (const char16_t c : text) value = value * 10 + static_cast<uint32_t>(c - u'0');
  if (value > 0xFFFF) return false;
  *port = static_cast<uint16_t>(value);
  return true;
}

}  // namespace

RtHostClass ClassifyRtHost(std::u16string_view host) {
  if (host.empty()) return RtHostClass::kEmptyOrBadCharacter;
  if (std::all_of(host.begin(), host.end(), [](char16_t c) { return IsDigit(c) || c == u'.'; })) {
    return IsDottedIpv4(host) ? RtHostClass::kValid : RtHostClass::kBadIpv4;
  }
  if (host.find_first_of(kForbidden) != std::u16string_view::npos) return RtHostClass::kEmptyOrBadCharacter;
  if (host.front() == u'-' || host.front() == u'.' || host.back() == u'-') return RtHostClass::kEmptyOrBadCharacter;
  if (std::all_of(host.begin(), host.end(), [](char16_t c) { return IsDigit(c) || c == u'-' || c == u'.'; })) {
    return RtHostClass::kNumeric;
  }
  if (!std::all_of(host.begin(), host.end(),
                   [](char16_t c) { return IsLetter(c) || IsDigit(c) || c == u'-' || c == u'.'; })) {
    return RtHostClass::kNonAscii;
  }
  return RtHostClass::kValid;
}

bool ParseRtAddress(std::u16string_view text, RtAddress* address) {
  if (text.size() < kPrefix.size()) return false;
  for (size_t i = 0; i < kPrefix.size(); ++i) {
    const char16_t c = text[i];
    if ((c >= u'A' && c <= u'Z' ? c + 32 : c) != kPrefix[i]) return false;
  }
  const std::u16string_view rest = text.substr(kPrefix.size());
  const size_t colon = rest.find(u':');
  if (colon == std::u16string_view::npos) return false;
  const size_t slash = rest.find(u'/', colon + 1);
  RtAddress parsed;
  parsed.host = rest.substr(0, colon);
  if (!ParsePort(rest.substr(colon + 1, slash == std::u16string_view::npos ? slash : slash - colon - 1),
                 &parsed.port)) {
    return false;
  }
  if (slash != std::u16string_view::npos) parsed.name = rest.substr(slash + 1);
  if (!parsed.name.empty() && parsed.name.back() == u'*') {
    parsed.star = true;
    parsed.name.pop_back();
  }
  if (parsed.name.size() >= kNameLimit || parsed.name.find_first_of(u":/") != std::u16string::npos) return false;
  if (ClassifyRtHost(parsed.host) != RtHostClass::kValid) return false;
  *address = std::move(parsed);
  return true;
}

RtHostClass ClassifyRtHostList(std::u16string_view text, RtHostList* list) {
  RtHostList parsed;
  RtHostClass lowest = RtHostClass::kValid;
  const size_t bar = text.find(u'|');
  parsed.mainHost = text.substr(0, bar);
  if (!parsed.mainHost.empty() || bar == std::u16string_view::npos) lowest = ClassifyRtHost(parsed.mainHost);
  for (size_t at = bar; at != std::u16string_view::npos;) {
    const size_t next = text.find(u'|', at + 1);
    const std::u16string_view host = text.substr(at + 1, next == std::u16string_view::npos ? next : next - at - 1);
    lowest = std::min(lowest, ClassifyRtHost(host));
    parsed.others.emplace(host);
    at = next;
  }
  if (list) *list = std::move(parsed);
  return lowest;
}

}  // namespace velmar
