#include "item_wait.h"

#include "velmar/channel.h"

namespace velmar::cli {
namespace {

// A native channel goes pending twice (its list, then its data); a third
// round that hears nothing means the data is not coming.
constexpr int kMaxQuietRounds = 2;
constexpr int kMaxRounds = 16;

class HeardCount : public CDataNotifications2Receiver {
 public:
  void OnDataChanged(IKivData*, KivTime, KivTime) override { ++count; }
  void OnDataRemoved(IKivData*) override { ++count; }
  void OnDataFailed(IKivData*) override { ++count; }
  int count = 0;
};

}  // namespace

KivResult ReadWhenReady(HostSession& session, IKivUnknown* item, const std::string& what,
                        const std::function<KivResult()>& read) {
  HeardCount heard;
  auto sink = MakeKiv<CDataNotifications2Sink<>>();
  sink->SetReceiver(&heard);
  (void)sink->Connect(item);
  KivResult r = read();
  int quiet = 0;
  for (int round = 0; r == KIV_E_PENDING && round < kMaxRounds && quiet < kMaxQuietRounds; ++round) {
    const int before = heard.count;
    if (!session.Settle(what)) break;
    quiet = heard.count == before ? quiet + 1 : 0;
    r = read();
  }
  sink->SetReceiver(nullptr);
  sink->Disconnect(item);
  return r;
}

}  // namespace velmar::cli
