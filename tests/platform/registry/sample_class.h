// A tiny class for class-registry tests, shared by the test executable
// and the test add-in module.
#pragma once

#include "velmar/class_registry.h"

namespace velmar::testing {

struct IKivSample : IKivUnknown {
  static constexpr Guid iid = Guid::Literal("{D8CB478A-1AD2-4B0A-8A13-FF05825A717F}");
  virtual KivResult GetValue(int32_t* out) = 0;
};

class CSample : public KivObject<IKivSample> {
 public:
  explicit CSample(int32_t value) : value_(value) {}
  KivResult GetValue(int32_t* out) override {
    if (!out) return E_POINTER;
    *out = value_;
    return S_OK;
  }

 private:
  int32_t value_;
};

// Categories and classes the helper lists.
inline constexpr Guid kSampleCategory = Guid::Literal("{27460E84-B142-41B6-9CCA-826E5F1427CA}");
inline constexpr Guid kOtherCategory = Guid::Literal("{E324D994-62FD-4526-846B-929E25260763}");
inline constexpr Guid kSampleOne = Guid::Literal("{7B9E6B34-C0A2-4662-8274-1F8C1E0FD822}");
inline constexpr Guid kSampleTwo = Guid::Literal("{52D4918A-80DA-459D-8F9D-4D3E797D55D5}");
// The class of the test add-in module.
inline constexpr Guid kAddInClass = Guid::Literal("{95F6BFDC-EA17-4D1B-876C-BFF7B6F07F80}");

// Lists kSampleOne (value 1, both categories) and kSampleTwo (value 2,
// kSampleCategory), as an add-in's VelmarListClasses would.
extern "C" KivResult ListSampleClasses(IKivClassSink* sink);
// Lists one class and then fails.
extern "C" KivResult ListThenFail(IKivClassSink* sink);

}  // namespace velmar::testing
