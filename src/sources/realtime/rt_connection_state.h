// The connection state of a live outing, what its caption says in each,
// and the state a server's status result leads to.
//
// Any thread (plain values).
#pragma once

#include <cstdint>
#include <string>

#include "velmar/result.h"

namespace velmar {

enum class RtConnectionState : int32_t {
  kNoServerObject = 0,
  kSettingsMissing = 1,
  kConnecting = 2,
  kConnectRefused = 3,
  kDecodeFile = 4,
  kOutingNotCreated = 5,
  kWatchSocket = 6,
  kDataSocket = 7,
  kInfoSocket = 8,
  kServerUnknown = 9,
  kWorking = 10,
};

// The caption of a state other than kWorking ("Connecting...", "Failed to
// connect", ...); empty for kWorking, whose caption is the outing's own.
std::u16string RtStateCaption(RtConnectionState state);

// The state a status result leads to: the failures the server tells, else
// kWorking.
RtConnectionState RtStateOfStatus(KivResult result);

// A caption field of the default form: 0 to 999 with three digits, -99 to
// -1 with a sign and two, "###" otherwise.
std::u16string RtCaptionNumber(int64_t value);

}  // namespace velmar
