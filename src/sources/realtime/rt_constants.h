// The constants of a live outing object: the server's constant list, merged
// into the factory's own values at each read (the first demand, and each
// time the outing reads everything again).
//
// Client thread only.
#pragma once

#include <vector>

#include "outing/constants/loaded_constant_factory.h"
#include "sources/realtime/rt_outing_core.h"

namespace velmar {

class CRTOutingConstantFactory : public CLoadedConstantFactory<IKivConstantFactory> {
 protected:
  ~CRTOutingConstantFactory() = default;
  bool LoadedRecords(std::vector<ConstantRecord>* records) override;
  virtual CRTOutingCore& LiveCore() = 0;
};

}  // namespace velmar
