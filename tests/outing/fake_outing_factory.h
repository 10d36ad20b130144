// An add-in outing factory for the tests of the outing factory, of any
// generation (Newest: IKivNewOutingFactory .. IKivNewOutingFactory5). It
// follows a script shared with the test, logs its calls there, and makes
// empty outings with the script's own id, so that a test can tell them from
// the stand-ins the outing factory makes.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "outing/cache/empty_outing.h"
#include "velmar/class_registry.h"
#include "velmar/outing_factory.h"
#include "velmar/text.h"

namespace velmar::testing {

struct AddInScript {
  Guid type;                   // the type it says it supports
  Guid madeId;                 // the outing id of what it makes
  KivResult result = S_OK;     // what its creation answers
  size_t fill = SIZE_MAX;      // how many elements it fills, from the first
  bool realTime = false;
  OutingTypeList types;        // what GetTypes gives
  KivResult typesResult = S_OK;
  std::vector<std::string> log;
};

template <class Newest>
class CFakeOutingFactory final : public KivObject<Newest> {
 public:
  explicit CFakeOutingFactory(std::shared_ptr<AddInScript> script) : script_(std::move(script)) {}

  // Every generation's operations; those of a later one than Newest are
  // plain members nobody calls.
  KivResult Create(KivBool create, const std::u16string& typeId, const Variant* paths, OutingList* outings) {
    Log("Create:" + std::to_string(create) + ":" + WideToUtf8(typeId));
    return Make(paths, outings);
  }
  KivResult GetTypes(OutingTypeList* types) {
    Log("GetTypes");
    if (Failed(script_->typesResult)) return script_->typesResult;
    *types = script_->types;
    return S_OK;
  }
  KivResult GetFastLapFilterEnabled(KivBool*) { return E_NOTIMPL; }
  KivResult SetFastLapFilterEnabled(KivBool enabled) {
    Log("SetFilter:" + std::to_string(enabled));
    return S_OK;
  }
  KivResult GetFastLapMinimumTime(KivTime*) { return E_NOTIMPL; }
  KivResult SetFastLapMinimumTime(KivTime minimum) {
    Log("SetMinimum:" + std::to_string(minimum));
    return S_OK;
  }
  KivResult CreateEx(KivBool create, KivBool overrideProperties, const std::u16string& typeId, const Variant* paths,
                     OutingList* outings) {
    Log("CreateEx:" + std::to_string(create) + ":" + std::to_string(overrideProperties) + ":" + WideToUtf8(typeId));
    return Make(paths, outings);
  }
  KivResult SetAddInOrder(const Variant*) { return E_NOTIMPL; }
  KivResult IsRealTimeType(const std::u16string&, KivBool* realTime) {
    Log("IsRealTimeType");
    *realTime = ToKivBool(script_->realTime);
    return S_OK;
  }
  KivResult SupportsType(const std::u16string& typeId, KivBool* supported) {
    Log("SupportsType");
    *supported = ToKivBool(Guid::Parse(typeId) == script_->type);
    return S_OK;
  }

 private:
  void Log(std::string what) { script_->log.push_back(std::move(what)); }
  KivResult Make(const Variant* paths, OutingList* outings) {
    if (Failed(script_->result)) return script_->result;
    const std::vector<Variant>& elements = *paths->AsArray();
    outings->assign(elements.size(), nullptr);
    for (size_t i = 0; i < elements.size() && i < script_->fill; ++i) {
      const std::u16string* path = elements[i].AsText();
      IKivOuting* made = nullptr;
      if (path && Succeeded(OpenEmptyOuting(*path, script_->madeId, false, &made))) {
        (*outings)[i] = ComPtr<IKivOuting>::Adopt(made);
      }
    }
    return script_->result;
  }

  std::shared_ptr<AddInScript> script_;
};

// Enters a fake add-in of generation Newest in `classes`, in the category of
// add-in outing factories unless told otherwise.
template <class Newest>
void RegisterFakeAddIn(ClassRegistry& classes, const Guid& clsid, std::shared_ptr<AddInScript> script,
                       bool inCategory = true) {
  ClassRegistry::ClassInfo info;
  info.clsid = clsid;
  info.create = [script](IKivUnknown** out) {
    auto factory = MakeKiv<CFakeOutingFactory<Newest>>(script);
    return GiveOut(factory->PrimaryUnknown(), out);
  };
  if (inCategory) info.categories.push_back(CATID_KivOutingFactories);
  ASSERT_TRUE(Succeeded(classes.Register(std::move(info))));
}

}  // namespace velmar::testing
