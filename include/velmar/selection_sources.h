// Sources of data beside a data selection's outing: a host tool or an add-in
// that works channels or events out in memory hands the selection a data
// factory of its own, and the selection lists that factory's names with the
// outing's and reads each name from the first source that has it. So a
// client sees the worked-out items as it sees recorded ones, and an outing's
// writers (IKivChannelWriter, IKivEventsWriter on the selection's outing)
// can store them.
//
// Asked of a data selection (QueryInterface). The sources stay when the
// selection's outing changes, and go when it closes. A source's name-list
// notifications (IKivDataFactoryNotifications) are followed. Client thread
// only.
#pragma once

#include "velmar/data_factory.h"
#include "velmar/unknown.h"

namespace velmar {

struct IKivDataSelectionSources : IKivUnknown {
  static constexpr Guid iid = Guid::Literal("{A7D3E915-62C4-4B8F-9E0D-3F51C2B8A46E}");
  // E_POINTER for null, S_FALSE for a source added already, E_FAIL once the
  // selection is closing. The source's parent becomes the selection when it
  // has none.
  virtual KivResult AddChannelSource(IKivChannelFactory* source) = 0;
  // S_FALSE for a factory that is not a source.
  virtual KivResult RemoveChannelSource(IKivChannelFactory* source) = 0;
  virtual KivResult AddEventsSource(IKivEventsFactory* source) = 0;
  virtual KivResult RemoveEventsSource(IKivEventsFactory* source) = 0;
};

}  // namespace velmar
