// CRTOutingCore: the working part of a live outing: the connection to a
// real-time server, its state and caption, the server's messages turned
// into the outing's notifications, and the reads that follow them.
//
// Nothing happens until something is asked: the first question connects.
// The server's messages come from the link's thread and are posted to the
// client thread, where every rule runs; the core takes no lock.
//
// Client thread only (the link's handler only posts).
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "config/status_channel_definitions.h"
#include "platform/realtime/rt_link.h"
#include "sources/realtime/rt_address.h"
#include "sources/realtime/rt_connection_state.h"
#include "sources/realtime/rt_live_channel.h"
#include "sources/realtime/rt_live_event_set.h"
#include "velmar/client_thread.h"
#include "velmar/real_time_settings.h"

namespace velmar {

// What the outing raises, in the order the rules run. A listener overrides
// what it acts on; the rest does nothing.
class IRtOutingEvents {
 public:
  // The state changed, or a status or information message came (captions
  // are to be read again).
  virtual void OnInformationChanged() {}
  virtual void OnChannelDataChanged(const std::u16string& /*channel*/, KivTime /*from*/, KivTime /*to*/) {}
  virtual void OnChannelsRemoved(const std::vector<std::u16string>& /*names*/) {}
  virtual void OnChannelsAdded(const std::vector<std::u16string>& /*names*/) {}
  virtual void OnEventDataChanged(const std::u16string& /*eventSet*/, KivTime /*from*/, KivTime /*to*/) {}
  virtual void OnLapMarkersReset() {}
  virtual void OnLapMarkersChanged(KivTime /*start*/, KivTime /*end*/) {}
  virtual void OnLapMarkersShifted(KivTime /*first*/, KivTime /*last*/) {}
  // Everything was read again (the third outing notification).
  virtual void OnDataClosed() {}
  virtual void OnTransactionMessage(const std::u16string& /*text*/) {}
  // The channel descriptions and event names, the first time each list is
  // read: what the shared property databases learn from.
  virtual void OnFirstChannelRecords(const std::vector<rt::WireChannel>& /*records*/) {}
  virtual void OnFirstEventNames(const std::vector<std::u16string>& /*names*/) {}
  // A time range of `span` came while no fast lap is known and no lap marker
  // exists: with the fast-lap filter on and the span long enough, the fast
  // lap is to be worked out again.
  virtual void OnFastLapUnknown(KivTime /*span*/) {}

 protected:
  ~IRtOutingEvents() = default;
};

// Makes the link to a server: TCP by default; tests give an in-process one.
using RtLinkMaker = std::function<KivResult(const std::u16string& host, uint16_t port, std::unique_ptr<rt::RtLink>*)>;
RtLinkMaker TcpLinkMaker();

// Where a connection takes its real-time settings from, asked afresh at each
// connection so that a change the user made since is used; none: state 1.
using RtSettingsSource = std::function<ComPtr<IKivRealTimeSettings3>()>;

// "Changes to constants are not supported with real-time data"
inline constexpr char16_t kRtReadOnlyMessage[] = u"Changes to constants are not supported with real-time data";
inline constexpr KivResult KIV_E_RT_ROLLBACK = static_cast<KivResult>(0x8004F00F);
// The wait of every read of the server, in milliseconds.
inline constexpr uint32_t kRtWaitLimit = 1000;

class CRTOutingCore {
 public:
  CRTOutingCore(std::u16string address, RtSettingsSource settings, RtLinkMaker makeLink, IRtOutingEvents* events);
  CRTOutingCore(std::u16string address, ComPtr<IKivRealTimeSettings3> settings, RtLinkMaker makeLink,
                IRtOutingEvents* events);
  ~CRTOutingCore();
  CRTOutingCore(const CRTOutingCore&) = delete;
  CRTOutingCore& operator=(const CRTOutingCore&) = delete;

  // Connects unless connected: S_FALSE when it was; the failure of the step
  // that failed, with the state set.
  KivResult Connect();
  RtConnectionState state() const { return state_; }
  std::u16string GetCaption();
  bool connected() const { return connected_; }

  // --- Reads (each connects first) ---------------------------------------
  std::vector<std::u16string> ChannelNames();
  // The blocks of a channel: S_OK, KIV_E_PENDING with none yet, E_FAIL for
  // a name not known.
  KivResult ReadChannel(const std::u16string& name, const RtBlockList** blocks);
  // The server's constants, read now.
  KivResult ReadConstants(std::vector<rt::WireConstant>* constants);
  // The server's blobs by name, and one blob with its type and bytes
  // (E_FAIL for a name not known).
  std::vector<std::u16string> BlobNames();
  KivResult ReadBlob(const std::u16string& name, rt::WireBlob* blob);
  // The names of the event sets, read when none is known yet.
  std::vector<std::u16string> EventSetNames();
  // The events of a set: S_OK, KIV_E_PENDING with none yet (all are then
  // asked for), E_FAIL for a name not known.
  KivResult ReadEvents(const std::u16string& name, const std::vector<rt::WireEvent>** events);
  // Reads the channels named at once, their requests all in flight
  // together (one round trip for all); what ReadChannel would answer for
  // each, in order (E_FAIL for a name not known).
  std::vector<KivResult> ReadChannels(const std::vector<std::u16string>& names);
  // The lap markers, read afresh after each marker message.
  KivResult LapMarkers(std::vector<rt::WireLapMarker>* markers);
  // 0x80004005 while the range is empty.
  KivResult OutingRange(KivTime* start, KivTime* end) const;
  // S_FALSE while the movement is not known (first not below last).
  KivResult MovementRange(KivTime* first, KivTime* last) const {
    *first = firstMovement_;
    *last = lastMovement_;
    return firstMovement_ < lastMovement_ ? S_OK : S_FALSE;
  }
  const std::map<std::u16string, std::u16string>& information() const { return pairs_; }
  // The server's details record once read (the first caption or reset reads it).
  const std::optional<rt::WireDetails>& details() const { return details_; }
  // Built on the first call from the server's definitions blob and channel
  // list, then kept (until a reset); an empty tree when anything fails.
  ComPtr<CStatusChannelDefinitions> StatusChannelDefinitions();

  // --- History mode, the read-only transaction ---------------------------
  KivResult GetHistoryMode(KivBool* keepAll);
  KivResult SetHistoryMode(KivBool keepAll);
  KivResult CommitTransaction();
  KivResult RollbackTransaction() const { return KIV_E_RT_ROLLBACK; }

  // Reads everything again (the outing's CloseData): the channel list, the
  // event names, the lap markers; clients hear OnDataClosed.
  void Reload() { CloseData(); }

  // --- The server's messages, on the client thread ------------------------
  void OnMessage(const rt::Frame& frame);

 private:
  void SetState(RtConnectionState state, bool tellSame);
  KivResult ConnectLink();
  KivResult CreateOuting();
  template <class Body>
  KivResult Call(rt::RtType type, std::vector<uint8_t> payload, Body* body);
  KivResult Call(rt::RtType type, std::vector<uint8_t> payload);
  KivResult ReadRest(uint64_t id, KivTime to, KivResult r, std::vector<rt::WireBlock>* blocks);

  void OnReset();
  void OnStatus(const rt::StatusMsg& status);
  void OnInformation(const rt::InformationMsg& information);
  void OnTimeRange(KivTime start, KivTime end);
  void OnChannelData(const rt::DataRangesMsg& ranges);
  void OnEventData(const rt::DataRangesMsg& ranges);
  void OnLapMarker(const rt::LapMarkerMsg& marker);
  void OnChannelsDiscarded(KivTime time);
  void OnEventsDiscarded(KivTime time);
  void ReadEventNames();
  // Reads the channel list and reconciles the channels held.
  void ReadChannelList();
  void ReadDetails();
  void CloseData();

  const std::u16string address_;
  RtSettingsSource settingsSource_;
  bool channelRecordsTold_ = false;
  bool eventNamesTold_ = false;
  ComPtr<IKivRealTimeSettings3> settings_;
  RtLinkMaker makeLink_;
  IRtOutingEvents* events_;
  std::unique_ptr<rt::RtLink> link_;
  std::shared_ptr<bool> alive_ = std::make_shared<bool>(true);
  KivClientThread client_ = KivClientThread::Current();

  RtConnectionState state_ = RtConnectionState::kWorking;
  bool outingCreated_ = false;
  bool connected_ = false;
  bool addressStar_ = false;
  KivTime start_ = kTimeMax, end_ = kTimeMin;
  bool firstRange_ = true;
  KivTime firstMovement_ = kTimeMax, lastMovement_ = kTimeMin;
  KivTime lowestChannelTime_ = kTimeMax;
  std::map<uint32_t, int64_t> lapSeen_;
  std::optional<KivBool> pendingHistory_;
  bool resetSeen_ = false;
  std::map<std::u16string, std::u16string> pairs_;
  std::optional<rt::WireDetails> details_;
  std::optional<std::vector<rt::WireLapMarker>> laps_;
  std::map<std::u16string, RtLiveChannel> channels_;  // by display name
  std::map<uint64_t, std::u16string> channelNames_;   // by id
  std::map<uint64_t, std::u16string> eventNames_;
  std::map<std::u16string, RtLiveEventSet> eventSets_;
  KivTime lowestEventTime_ = kTimeMin;
  ComPtr<CStatusChannelDefinitions> definitions_;
};

}  // namespace velmar
