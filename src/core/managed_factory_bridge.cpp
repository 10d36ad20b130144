#include "core/managed_factory_bridge.h"

namespace velmar {
namespace {

ManagedFactoryBridge*& Slot() {
  static ManagedFactoryBridge* bridge = nullptr;
  return bridge;
}

}  // namespace

ManagedFactoryBridge* CurrentManagedFactoryBridge() { return Slot(); }

void SetManagedFactoryBridge(ManagedFactoryBridge* bridge) { Slot() = bridge; }

}  // namespace velmar
