// A small tagged value, as interfaces pass loosely typed properties:
// empty, i32, u32, f64, bool, text, time (ticks), an array of values, or an
// object (a counted reference, such as the filter a channel property names).
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "velmar/types.h"
#include "velmar/unknown.h"

namespace velmar {

class Variant {
 public:
  enum class Kind { kEmpty, kI32, kU32, kF64, kBool, kText, kTime, kArray, kObject };
  struct TimeValue { KivTime ticks = 0; friend bool operator==(TimeValue, TimeValue) = default; };

  Variant() = default;
  static Variant I32(int32_t v) { return Variant(Value(std::in_place_index<1>, v)); }
  static Variant U32(uint32_t v) { return Variant(Value(std::in_place_index<2>, v)); }
  static Variant F64(double v) { return Variant(Value(std::in_place_index<3>, v)); }
  static Variant Bool(bool v) { return Variant(Value(std::in_place_index<4>, ToKivBool(v))); }
  static Variant Text(std::u16string v) { return Variant(Value(std::in_place_index<5>, std::move(v))); }
  static Variant Time(KivTime v) { return Variant(Value(std::in_place_index<6>, TimeValue{v})); }
  static Variant Array(std::vector<Variant> v) { return Variant(Value(std::in_place_index<7>, std::move(v))); }
  static Variant Object(ComPtr<IKivUnknown> v) { return Variant(Value(std::in_place_index<8>, std::move(v))); }

  Kind kind() const { return static_cast<Kind>(value_.index()); }
  bool empty() const { return kind() == Kind::kEmpty; }

  // Exact accessors: nothing when the kind differs.
  std::optional<int32_t> AsI32() const { return Get<1>(); }
  std::optional<uint32_t> AsU32() const { return Get<2>(); }
  std::optional<double> AsF64() const { return Get<3>(); }
  std::optional<bool> AsBool() const {
    if (auto b = Get<4>()) return FromKivBool(*b);
    return std::nullopt;
  }
  const std::u16string* AsText() const { return std::get_if<5>(&value_); }
  std::optional<KivTime> AsTime() const {
    if (auto t = Get<6>()) return t->ticks;
    return std::nullopt;
  }
  const std::vector<Variant>* AsArray() const { return std::get_if<7>(&value_); }
  // Null for any other kind.
  IKivUnknown* AsObject() const {
    const ComPtr<IKivUnknown>* p = std::get_if<8>(&value_);
    return p ? p->Get() : nullptr;
  }

  // Any numeric kind (i32, u32, f64, bool, time) as a double.
  std::optional<double> ToDouble() const;
  // Text form, as a property sheet would show it.
  std::u16string ToText() const;

  friend bool operator==(const Variant& a, const Variant& b) { return a.value_ == b.value_; }

 private:
  using Value = std::variant<std::monostate, int32_t, uint32_t, double, KivBool, std::u16string,
                             TimeValue, std::vector<Variant>, ComPtr<IKivUnknown>>;
  explicit Variant(Value v) : value_(std::move(v)) {}
  template <size_t N>
  auto Get() const -> std::optional<std::variant_alternative_t<N, Value>> {
    if (auto p = std::get_if<N>(&value_)) return *p;
    return std::nullopt;
  }
  Value value_;
};

}  // namespace velmar
