// The add-in's one export: its data factory class, in the data factory
// category, for the class registry to take.
#include "math_factory.h"
#include "velmar/class_registry.h"
#include "velmar/velmar.h"

namespace {

velmar::KivResult CreateMathChannels(velmar::IKivUnknown** out) {
  if (!out) return velmar::E_POINTER;
  auto factory = velmar::MakeKiv<velmar::math::CMathChannelFactory>();
  *out = static_cast<velmar::IKivChannelFactory*>(factory.Detach());
  return velmar::S_OK;
}

const velmar::Guid kCategories[] = {velmar::CATID_KivDataFactory};

}  // namespace

extern "C" __attribute__((visibility("default"))) velmar::KivResult VelmarListClasses(velmar::IKivClassSink* sink) {
  if (!sink) return velmar::E_POINTER;
  velmar::KivClassEntry entry;
  entry.clsid = velmar::CLSID_KivMathChannels;
  entry.prog_id = u"KivVelmar.MathChannels.1";
  entry.display_name = u"Kivara Math Channels";
  entry.create = &CreateMathChannels;
  entry.categories = kCategories;
  entry.category_count = 1;
  return sink->AddClass(entry);
}
