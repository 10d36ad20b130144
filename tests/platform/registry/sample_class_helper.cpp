#include "sample_class.h"

namespace velmar::testing {
namespace {

template <int32_t kValue>
KivResult CreateSample(IKivUnknown** out) {
  ComPtr<CSample> obj = MakeKiv<CSample>(kValue);
  return GiveOut(static_cast<IKivUnknown*>(obj->PrimaryUnknown()), out);
}

const Guid kBoth[] = {kSampleCategory, kOtherCategory};

}  // namespace

extern "C" KivResult ListSampleClasses(IKivClassSink* sink) {
  KivClassEntry one{kSampleOne, u"KivTest.SampleOne.1", u"Kivara Sample One", &CreateSample<1>,
                    kBoth, 2};
  KivClassEntry two{kSampleTwo, u"KivTest.SampleTwo.1", u"Sample Two", &CreateSample<2>, kBoth, 1};
  if (KivResult r = sink->AddClass(one); Failed(r)) return r;
  return sink->AddClass(two);
}

extern "C" KivResult ListThenFail(IKivClassSink* sink) {
  KivClassEntry one{kAddInClass, u"KivTest.Half.1", nullptr, &CreateSample<3>, nullptr, 0};
  (void)sink->AddClass(one);
  return E_FAIL;
}

}  // namespace velmar::testing
