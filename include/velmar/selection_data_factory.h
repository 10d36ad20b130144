// Data factory add-ins in every data selection. The root makes one instance
// of each active data factory; every data selection of every task then lists
// that factory's channels and events beside its outing's, in the order of
// the active list. A factory that computes from a selection's data offers
// IKivSelectionDataFactoryMaker and makes one instance per selection; any
// other factory is added to each selection as it is.
//
// A made instance reads the selection's data only through the inputs it is
// given: the items of the selection's outing, its host sources and the
// factories ahead of it in the active order, never its own or those after
// it. So an instance that asks its inputs for names can't reach itself.
//
// Adding, removing or moving factories in the active list reaches every
// selection, which tells its clients through its data factory notifications
// (IKivDataFactoryNotifications): the names that came, went or changed.
// Client thread only.
#pragma once

#include "velmar/data_factory.h"
#include "velmar/unknown.h"

namespace velmar {

// Offered by the root's instance of a data factory add-in.
struct IKivSelectionDataFactoryMaker : IKivUnknown {
  static constexpr Guid iid = Guid::Literal("{3E0B6C52-8F14-4A7D-B2C9-61D5E0A4F7B3}");
  // The factory's instance for one selection. It answers IKivChannelFactory
  // and/or IKivEventsFactory (and may IKivMediaChannelFactory); the
  // selection becomes its parent while it is a source. `channels` and
  // `events` are the instance's inputs (above); they answer E_FAIL and list
  // nothing once the selection has closed. The instance tells its name-list
  // changes through IKivNotifications with IKivDataFactoryNotifications.
  virtual KivResult CreateForSelection(IKivUnknown* selection, IKivChannelFactory* channels,
                                       IKivEventsFactory* events, IKivUnknown** factory) = 0;
};

// Offered, optionally, by a made instance: the selection calls it when the
// names of its inputs came, went or changed (the outing loaded its list, a
// factory ahead of it changed its own), so it can read them again and tell
// what that changes of its own names.
struct IKivSelectionInputsSink : IKivUnknown {
  static constexpr Guid iid = Guid::Literal("{C41F2A97-5D3B-4E86-9A0C-7B2E8D16F5A4}");
  virtual KivResult OnInputsChanged() = 0;
};

}  // namespace velmar
