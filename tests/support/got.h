// What a getter gives through its out-parameter; any answer but S_OK fails
// the test. A number starts as a pattern no getter gives, so a getter that
// writes nothing cannot pass for one that wrote the expected zero.
#pragma once

#include <gtest/gtest.h>

#include <cstring>
#include <type_traits>

#include "velmar/result.h"
#include "velmar/unknown.h"

namespace velmar::testing {

template <class Obj, class Iface, class T>
T Got(Obj* obj, KivResult (Iface::*get)(T*)) {
  T value{};
  if constexpr (std::is_arithmetic_v<T>) std::memset(&value, 0xA5, sizeof value);
  EXPECT_EQ((static_cast<Iface*>(obj)->*get)(&value), S_OK);
  return value;
}

// An interface is given held, so that the test owns its reference.
template <class Obj, class Iface, class I>
ComPtr<I> Got(Obj* obj, KivResult (Iface::*get)(I**)) {
  ComPtr<I> held;
  EXPECT_EQ((static_cast<Iface*>(obj)->*get)(held.Put()), S_OK);
  return held;
}

template <class P, class Iface, class T>
auto Got(const ComPtr<P>& obj, KivResult (Iface::*get)(T*)) {
  return Got(obj.Get(), get);
}

}  // namespace velmar::testing
