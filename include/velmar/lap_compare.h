// Comparing laps: one channel over one lap against distance or time, laps
// resampled onto one distance grid, the time one lap gains or loses on
// another along the lap, and a GPS trace projected flat for a track map.
// A host gets here the numbers the `velmar` pictures are drawn from.
//
// A lap is a time region (from a lap finder): its start and end in ticks.
// Distance along a lap is the distance channel's value minus its value at
// the lap's start; the distance channel is the one the root's common
// channels name for corrected distance, else the one they name for
// distance, so a user who points either role elsewhere moves every picture.
//
// The reading functions run on the client thread, on a channel factory (an
// outing's or a data selection's) that has a root. The computations are
// plain functions of their arguments, safe on any thread.
#pragma once

#include <span>
#include <string>
#include <vector>

#include "velmar/channel.h"
#include "velmar/data_factory.h"
#include "velmar/result.h"
#include "velmar/types.h"

namespace velmar {

// One channel over one lap. Entry 0 is the lap's start and the last entry
// its end (values interpolated there when the channel has samples on both
// sides); the samples inside the lap come between.
struct KivLapTrace {
  std::vector<KivTime> times;     // ticks from the lap's start, ascending
  std::vector<double> values;     // in the channel's base unit
  std::vector<double> distances;  // metres from the lap's start, never falling; empty when read by time only
};

// The distance channel of the outing behind `channels`: corrected distance,
// else distance. Ask once the factory lists its names: a data selection
// whose list is not in yet hands out a proxy for any name. `lookedFor` (may be null) receives the role texts that were
// tried, "[1]Corrected Distance, [1]Distance", for a message. Fails with the
// last lookup's result when neither is there, E_POINTER on null arguments.
[[nodiscard]] KivResult KivFindLapDistanceChannel(IKivDataFactory* channels, ComPtr<IKivChannel>* channel,
                                                  std::u16string* lookedFor);

// The GPS channels the common channels name for latitude and longitude.
// `lookedFor` (may be null) receives "[7]Latitude, [7]Longitude". Fails with
// the lookup's result when either is missing, E_POINTER on null arguments.
[[nodiscard]] KivResult KivFindTrackChannels(IKivDataFactory* channels, ComPtr<IKivChannel>* latitude,
                                             ComPtr<IKivChannel>* longitude, std::u16string* lookedFor);

// Reads channel `name` over [start, end]; with `byDistance` the distance of
// every entry too. KIV_E_PENDING while a channel's data is being fetched
// (the fetch is started: run the client thread and ask again); the factory's
// result for a missing channel; the distance lookup's result when there is
// no distance channel; E_INVALIDARG when start is after end; S_FALSE and an
// empty trace when the channel has no sample in or around the lap.
[[nodiscard]] KivResult KivReadLapTrace(IKivDataFactory* channels, const std::u16string& name, KivTime start,
                                        KivTime end, bool byDistance, KivLapTrace* trace);

// The distance the lap covers: its last distance, 0 for a trace without.
double KivLapLength(const KivLapTrace& trace);

// 0, step, 2 step... up to `length`, which is always the last point (a grid
// of one point 0 for a length of 0 or less). Empty for a step not above 0.
std::vector<double> KivDistanceGrid(double length, double step);

// The trace's values at each distance of `grid` (ascending), interpolated
// linearly; NaN outside [0, KivLapLength]. Where the car stood still the
// value when it first reached that distance is taken. E_INVALIDARG for a
// trace without distances or a grid that falls.
[[nodiscard]] KivResult KivResampleOnDistance(const KivLapTrace& trace, std::span<const double> grid,
                                              std::vector<double>* values);

// How far `lap` is behind `reference` along the lap, in seconds (negative:
// ahead), on a grid of `step` metres over the reference lap's length. The
// lap's distances are stretched to the reference's length first, so that
// both end together: the last delta is the difference of the two lap times.
struct KivTimeDelta {
  std::vector<double> distances;  // metres along the reference lap
  std::vector<double> seconds;    // lap time minus reference time at that distance
};
// E_INVALIDARG for a step not above 0 or a trace without distances or
// covering no distance.
[[nodiscard]] KivResult KivComputeTimeDelta(const KivLapTrace& lap, const KivLapTrace& reference, double step,
                                            KivTimeDelta* delta);

// A GPS trace projected flat: equirectangular about the centre of the
// trace's bounding box, in metres east (x) and north (y) of that centre,
// one metre the same length on both axes. Latitudes and longitudes in
// radians, the base unit of angle, as angle channels read. Pairs with a NaN
// are dropped.
struct KivTrackPoints {
  std::vector<double> x;
  std::vector<double> y;
  std::vector<size_t> source;  // index in the input of each point kept
};
// E_INVALIDARG when the two lists differ in length or a latitude lies
// beyond a pole (above pi/2 in size).
[[nodiscard]] KivResult KivProjectTrack(std::span<const double> latitudes, std::span<const double> longitudes,
                                        KivTrackPoints* points);

}  // namespace velmar
