#include "outing/channel_header.h"

#include <algorithm>

#include "velmar/channel_key.h"

namespace velmar {

namespace {

// Index of the "[" that matches the "]" at `close`, nested pairs counted;
// npos when there is none.
size_t MatchingOpen(std::u16string_view text, size_t close) {
  size_t depth = 0;
  for (size_t i = close; i-- > 0;) {
    if (text[i] == u']') {
      ++depth;
    } else if (text[i] == u'[') {
      if (depth == 0) return i;
      --depth;
    }
  }
  return std::u16string_view::npos;
}

}  // namespace

HeaderName SplitHeaderName(std::u16string_view header) {
  HeaderName out;
  if (!header.empty() && header.back() == u']') {
    const size_t close = header.size() - 1;
    const size_t open = MatchingOpen(header, close);
    if (open != std::u16string_view::npos) {
      out.unit = std::u16string(header.substr(open + 1, close - open - 1));
      out.hasUnit = true;
      header = header.substr(0, open);
    }
  }
  out.name = ReplaceBrackets(header);
  return out;
}

HeaderUnit LookUpHeaderUnit(std::u16string_view unitText, IKivUnitTable* table) {
  HeaderUnit out;
  if (unitText.empty()) return out;
  QuantityId quantity = kQuantityDimensionless;
  UnitId unit = kBaseUnit;
  if (table && table->FindUnit(std::u16string(unitText), &quantity, &unit) == S_OK) {
    out.unit = ChannelUnit{quantity, unit};
    out.known = true;
  } else {
    out.userType = std::u16string(unitText);
  }
  return out;
}

std::u16string UnderscoresToBlanks(std::u16string_view name) {
  std::u16string out(name);
  std::replace(out.begin(), out.end(), u'_', u' ');
  return out;
}

}  // namespace velmar
