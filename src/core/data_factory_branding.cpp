#include "core/data_factory_branding.h"

#include "core/data_factory_branding_helper.h"
#include "core/velmar_global_state.h"

namespace velmar {

namespace {

struct ProcessBranding {
  std::shared_ptr<const DataFactoryBranding> installed;
  std::shared_ptr<const DataFactoryBranding> fromModule;
};

ProcessBranding& Process() {
  static ProcessBranding branding;
  return branding;
}

}  // namespace

bool DataFactoryBranding::IsAllowed(const DataFactoryRecord& record) const {
  switch (record.kind) {
    case DataFactoryKind::kNative:
      return !excludedFactories_.contains(record.clsid);
    case DataFactoryKind::kManaged:
      return !excludedTools_.contains(record.typeName);
  }
  return false;
}

const DataFactoryBranding& CurrentDataFactoryBranding() {
  ProcessBranding& process = Process();
  if (process.installed) return *process.installed;
  if (!process.fromModule) {
    // The module is let go once its lists are read.
    process.fromModule = std::make_shared<const DataFactoryBranding>(CDataFactoryBrandingHelper().Snapshot());
  }
  return *process.fromModule;
}

void InstallDataFactoryBranding(std::shared_ptr<const DataFactoryBranding> branding) {
  Process().installed = std::move(branding);
}

void ReloadDataFactoryBranding() {
  Process().fromModule = nullptr;
  BuildMandatoryDataFactories();
}

}  // namespace velmar
