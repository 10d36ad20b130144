// The import of a native store's stored display properties into the shared
// property databases: a job on "DAE_Thread" opens the `.trn`, copies its
// channel descriptions or event names and lets the store go there; the merge
// runs on the client thread, where the databases live.
//
// The store's event-name record carries no priority, so the event import
// adds the names the database lacks (with the database's default priority)
// and leaves known names alone, override or not.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "jobs/state_machine.h"
#include "velmar/outing.h"
#include "velmar/property_factories.h"

namespace velmar {

// A channel description as the store keeps it, copied out of the store.
struct StoredChannelProperties {
  std::u16string name;
  std::u16string userType;
  double displayMaximum = 0;
  double displayMinimum = 0;
  double alarmMaximum = 0;
  double alarmMinimum = 0;
  int32_t decimalPlaces = 0;
  int32_t quantity = 0;
  uint32_t unit = 0;
  uint32_t colour = 0;
  uint32_t sampleType = 0;
  bool autoscale = false;
};

// The channel merge: each record that passes its checks sets nine
// properties of its key (name, quantity; a quantity the units component
// does not know counts as 0), its limits converted from base units into the
// record's unit. With `override` off a key the database has is left alone.
void MergeChannelProperties(IKivChannelPropertyFactory* factory, bool override,
                            const std::vector<StoredChannelProperties>& records);
void MergeEventNames(IKivEventPropertyFactory* factory, const std::vector<std::u16string>& names);

// One running import; it tells `done` when it ends.
class CPropertyImportMachine final : public CStateMachine {
 public:
  using Done = std::function<void(CPropertyImportMachine*)>;
  CPropertyImportMachine(ComPtr<IKivChannelPropertyFactory> channels, ComPtr<IKivEventPropertyFactory> events,
                         bool override, std::u16string path, Done done);
  [[nodiscard]] KivResult Start();

 private:
  void OnJobSucceeded(CJobItem& job) override;
  void OnJobFailed(CJobItem& job) override;
  void Finish();

  ComPtr<IKivChannelPropertyFactory> channels_;
  ComPtr<IKivEventPropertyFactory> events_;
  bool override_;
  std::u16string path_;
  Done done_;
};

}  // namespace velmar
