// Finding an event by time in a list kept in rising time order, where
// several events may share a time (a run).
//
// Modes: 0 the next event strictly after t, 1 the last strictly before it,
// 2 the nearest (a time exactly half way goes to the later event). The
// search is limited to [lo, hi]; a time at or beyond a bound turns the mode
// toward the inside, as a channel's search does.
//
// Any thread; pure.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>

#include "velmar/result.h"
#include "velmar/types.h"

namespace velmar {

// `timeAt(i)` is the time of the event at position i, 0 <= i < count, in
// rising order; count > 0 and mode <= 2. S_OK with the index (from 1);
// S_FALSE (index 0) when the event found lies outside [lo, hi] or none fits;
// E_FAIL when the walk leaves the list.
[[nodiscard]] KivResult FindEventIndex(size_t count, const std::function<KivTime(size_t)>& timeAt, KivTime t,
                                       uint32_t mode, KivTime lo, KivTime hi, int32_t* index);

}  // namespace velmar
