#include "config/property_factory_helpers.h"

#include <algorithm>

namespace velmar {

namespace {

constexpr uint32_t kNativeStoreOuting = 1;

}  // namespace

KivResult CPropertyImports::Start(IKivOuting* outing, ComPtr<IKivChannelPropertyFactory> channels,
                                  ComPtr<IKivEventPropertyFactory> events) {
  uint32_t type = 0;
  if (Failed(outing->GetOutingType(&type))) return E_FAIL;
  if (type != kNativeStoreOuting) return S_OK;
  KivBool override = KIV_FALSE;
  if (auto outing4 = QueryAs<IKivOuting4>(outing)) (void)outing4->GetOverrideProperties(&override);
  std::u16string path;
  if (Failed(outing->GetFileName(&path))) return E_FAIL;
  auto machine = MakeClient<CPropertyImportMachine>(
      std::move(channels), std::move(events), FromKivBool(override), std::move(path),
      [this](CPropertyImportMachine* ended) {
        // The client reference goes after this call: the machine is kept alive by its caller.
        auto it = std::find_if(running_.begin(), running_.end(), [&](const auto& r) { return r.Get() == ended; });
        if (it != running_.end()) running_.erase(it);
      });
  if (Failed(machine->Start())) return E_FAIL;
  running_.push_back(std::move(machine));
  return S_OK;
}

KivResult CChannelPropertyFactoryHelper::ImportOutingProperties(IKivChannelPropertyFactory* factory,
                                                                IKivOuting* outing) {
  if (!factory || !outing) return E_INVALIDARG;
  return imports_.Start(outing, ComPtr<IKivChannelPropertyFactory>(factory), nullptr);
}

KivResult CEventPropertyFactoryHelper::ImportOutingProperties(IKivEventPropertyFactory* factory, IKivOuting* outing) {
  if (!factory || !outing) return E_INVALIDARG;
  return imports_.Start(outing, nullptr, ComPtr<IKivEventPropertyFactory>(factory));
}

}  // namespace velmar
