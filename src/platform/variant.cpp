#include "velmar/variant.h"

#include <cstdio>

#include "velmar/text.h"

namespace velmar {

std::optional<double> Variant::ToDouble() const {
  switch (kind()) {
    case Kind::kI32: return *AsI32();
    case Kind::kU32: return *AsU32();
    case Kind::kF64: return *AsF64();
    case Kind::kBool: return *AsBool() ? -1.0 : 0.0;
    case Kind::kTime: return static_cast<double>(*AsTime());
    default: return std::nullopt;
  }
}

std::u16string Variant::ToText() const {
  char buf[64];
  switch (kind()) {
    case Kind::kEmpty: return {};
    case Kind::kI32: std::snprintf(buf, sizeof buf, "%d", *AsI32()); break;
    case Kind::kU32: std::snprintf(buf, sizeof buf, "%u", *AsU32()); break;
    case Kind::kF64: std::snprintf(buf, sizeof buf, "%.15g", *AsF64()); break;
    case Kind::kBool: return *AsBool() ? u"True" : u"False";
    case Kind::kText: return *AsText();
    case Kind::kTime: std::snprintf(buf, sizeof buf, "%lld", static_cast<long long>(*AsTime())); break;
    case Kind::kArray: {
      std::u16string out;
      for (const auto& v : *AsArray()) {
        if (!out.empty()) out += u", ";
        out += v.ToText();
      }
      return out;
    }
    case Kind::kObject: return u"(Object)";
  }
  return Utf8ToWide(buf);
}

}  // namespace velmar
