// Helpers a host calls after it opens a native store outing, to copy the
// display properties the file stores into the shared property databases.
// The copy runs in the background on the store's thread and merges on the
// host's thread; run the client thread until it settles.
#pragma once

#include "velmar/guid.h"
#include "velmar/outing.h"
#include "velmar/property_factories.h"
#include "velmar/unknown.h"

namespace velmar {

struct IKivChannelPropertyFactoryHelper : IKivUnknown {
  static constexpr Guid iid = Guid::Literal("{8B1C6F0E-2A47-4D39-9E51-3C7A0D2B6F14}");
  // E_INVALIDARG for a null argument, E_FAIL when the outing's type can't be
  // read or the job can't start; S_OK and no work for an outing that is not
  // a native store outing.
  virtual KivResult ImportOutingProperties(IKivChannelPropertyFactory* factory, IKivOuting* outing) = 0;
};

struct IKivEventPropertyFactoryHelper : IKivUnknown {
  static constexpr Guid iid = Guid::Literal("{4E93D2A7-61C5-4B08-8F3E-B2D5A9C07E61}");
  virtual KivResult ImportOutingProperties(IKivEventPropertyFactory* factory, IKivOuting* outing) = 0;
};

}  // namespace velmar
