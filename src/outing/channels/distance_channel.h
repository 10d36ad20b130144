// The channels of the common roles on an outing, and the two conversions the
// distance channel gives: time to distance and back. A role's channel is
// the one the root's common channels name, taken from the outing's own
// channel factory, so a user who points the distance role elsewhere moves
// every lap edit.
//
// Client thread only.
#pragma once

#include "velmar/channel.h"
#include "velmar/common_channels.h"
#include "velmar/data_factory.h"
#include "velmar/types.h"

namespace velmar {

// The channel of a common role (distance, speed, map position...) on the
// outing whose channel factory is `channels`: the channel keyed as the
// role's text names it, else the one of that name recorded without a
// quantity, else the one listed by that plain name, else one of that name
// listed under another quantity. A failure on the road
// (no root, no common channels, no such channel) is the result; a role text
// that is no channel key gives `badKey`.
[[nodiscard]] KivResult FindCommonChannel(IKivDataFactory* channels, CommonChannelRole role,
                                          ComPtr<IKivChannel>* channel, KivResult badKey = E_INVALIDARG);
// The distance role's channel; a role text that is no channel key gives
// KIV_E_BAD_DISTANCE_CHANNEL.
[[nodiscard]] KivResult FindDistanceChannel(IKivDataFactory* channels, ComPtr<IKivChannel>* channel);

// The channel's data for the conversions: KIV_E_PENDING while it is fetched
// (the fetch is started), another failure when it cannot be read.
[[nodiscard]] KivResult DistanceData(IKivChannel* channel, ComPtr<IKivChannelIterator2>* data);

// The distance at `time`, interpolated; E_FAIL outside the data.
[[nodiscard]] KivResult TimeToDistance(IKivChannelIterator* data, KivTime time, double* distance);
// When the distance first reaches `distance`; E_FAIL when it never does.
[[nodiscard]] KivResult DistanceToTime(IKivChannelIterator* data, double distance, KivTime* time);

}  // namespace velmar
