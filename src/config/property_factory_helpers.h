// CChannelPropertyFactoryHelper and CEventPropertyFactoryHelper: what a host
// calls after opening a native store outing to copy the file's stored
// display properties into the databases (see config/property_import.h).
// Each keeps the imports it started until they end.
//
// Client thread only.
#pragma once

#include <vector>

#include "config/property_import.h"
#include "velmar/class_registry.h"
#include "velmar/property_helpers.h"

namespace velmar {

// The imports a helper has running.
class CPropertyImports {
 public:
  // The outing's type, path and override flag; S_OK and nothing started
  // for an outing that is not a native store outing.
  [[nodiscard]] KivResult Start(IKivOuting* outing, ComPtr<IKivChannelPropertyFactory> channels,
                                ComPtr<IKivEventPropertyFactory> events);
  size_t Running() const { return running_.size(); }

 private:
  std::vector<ClientRef<CPropertyImportMachine>> running_;
};

class CChannelPropertyFactoryHelper final : public KivObject<IKivChannelPropertyFactoryHelper> {
 public:
  KivResult ImportOutingProperties(IKivChannelPropertyFactory* factory, IKivOuting* outing) override;

 private:
  CPropertyImports imports_;
};

class CEventPropertyFactoryHelper final : public KivObject<IKivEventPropertyFactoryHelper> {
 public:
  KivResult ImportOutingProperties(IKivEventPropertyFactory* factory, IKivOuting* outing) override;

 private:
  CPropertyImports imports_;
};

}  // namespace velmar
