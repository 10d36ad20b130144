// The computations of velmar/lap_compare.h on traces already read: lap
// length, distance grids, resampling onto a grid, the time delta. Plain
// functions, linear in the samples and grid points: every walk moves one
// cursor forward.
#pragma once

#include <span>
#include <vector>

#include "velmar/lap_compare.h"

namespace velmar {

// ys at each of `at` (ascending) along `distances` (never falling, as long
// as ys): the first point that reaches a distance gives its value there,
// linear between points; NaN outside [distances.front(), distances.back()].
std::vector<double> ValuesAtDistances(std::span<const double> distances, std::span<const double> ys,
                                      std::span<const double> at);

}  // namespace velmar
