#include "core/data_factory_branding.h"

namespace velmar {

namespace {
std::shared_ptr<const DataFactoryBranding>& Installed() {
  static std::shared_ptr<const DataFactoryBranding> branding;
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
  static const DataFactoryBranding kNoModule;
  const auto& installed = Installed();
  return installed ? *installed : kNoModule;
}

void InstallDataFactoryBranding(std::shared_ptr<const DataFactoryBranding> branding) {
  Installed() = std::move(branding);
}

}  // namespace velmar
