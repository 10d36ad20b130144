// A loadable add-in module for the class registry's tests: built as a
// MODULE library, it exports VelmarListClasses and one class.
#include "sample_class.h"

namespace {

using velmar::testing::CSample;

velmar::KivResult CreateAddInSample(velmar::IKivUnknown** out) {
  velmar::ComPtr<CSample> obj = velmar::MakeKiv<CSample>(42);
  return velmar::GiveOut(static_cast<velmar::IKivUnknown*>(obj->PrimaryUnknown()), out);
}

}  // namespace

extern "C" __attribute__((visibility("default"))) velmar::KivResult VelmarListClasses(
    velmar::IKivClassSink* sink) {
  static const velmar::Guid kCategories[] = {velmar::testing::kSampleCategory};
  velmar::KivClassEntry entry{velmar::testing::kAddInClass, u"KivTest.AddIn.1",
                              u"Kivara Test Add-in", &CreateAddInSample, kCategories, 1};
  return sink->AddClass(entry);
}
