// What an outing cache calls on each outing object attached to it. The
// outing object turns each call into its own notifications (IKivOutingImpl).
//
// A source whose cache tells its outings more derives its own interface from
// this one and names it as the cache's and the outing's StateChanges.
//
// Client thread only.
#pragma once

#include <cstdint>
#include <string>

#include "velmar/data_factory.h"
#include "velmar/types.h"
#include "velmar/unknown.h"

namespace velmar {

struct COutingStateChanges : IKivUnknown {
  static constexpr Guid iid = Guid::Literal("{CD865CFE-8AD9-427C-906D-B9EFEFDF8CDD}");

  // The data went: channels, then event sets, leave the factories.
  virtual void OnDataDiscarded() = 0;
  // A load finished: event sets are rebuilt; `informationChanged` when the
  // load brought a new information object.
  virtual void OnInformationLoaded(bool informationChanged) = 0;
  // The loaded channels can be listed.
  virtual void OnChannelsLoaded() = 0;
  virtual void OnLapMarkersReset() = 0;
  virtual void OnLapMarkersChanged(KivTime from, KivTime to) = 0;
  virtual void OnLapMarkersShifted(KivTime from, KivTime to) = 0;
  // The data set this outing asked for was made (or not).
  virtual void OnCreatedNotify(bool success) = 0;
  virtual void OnTransactionBegin() = 0;
  virtual void OnTransactionEnd() = 0;
  virtual void OnTransactionProgress(uint32_t done, uint32_t total) = 0;
  virtual void OnTransactionStatus(const std::u16string& text) = 0;
  virtual void OnInformationChanged() = 0;
  // Those channels went from the data set.
  virtual void OnChannelsRemoved(const NameList& names) = 0;
  // Channels of those names were written into the data set.
  virtual void OnChannelsAdded(const NameList& names) = 0;
  // Level 0 a note, 1 a warning, 2 an error.
  virtual void OnWriterMessage(uint32_t level, const std::u16string& text) = 0;
  // The data selection binding this outing object is held by, reference
  // added; S_FALSE and null when there is none.
  virtual KivResult GetSelectionBinding(IKivUnknown** binding) = 0;
};

}  // namespace velmar
