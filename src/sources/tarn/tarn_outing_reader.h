// Reads any opened outing, through its public interfaces only, into the
// plain form a `.trn` file is written from: what `velmar convert` and an
// export call before WriteTarnDataSet.
//
// Outings load on demand: a read that answers "pending" is asked again
// after `wait` (which drives the client thread until the outing's jobs have
// come back, e.g. Async_RunUntilSettled) has run; an item still pending
// after that is left out. Client thread only.
#pragma once

#include <functional>

#include "sources/tarn/tarn_data_set.h"
#include "velmar/outing.h"

namespace velmar {

// Lets the outing's pending work finish; false when it could not.
using TarnWaitForData = std::function<bool()>;

// Fills `data` with the outing's details, channels (every block, as read:
// values in the channel's unit), event sets, numeric constants, lap markers
// and spans. E_POINTER for a null outing or data; E_FAIL when no data
// selection holds the outing (its channels are read through one); a failure
// of the outing as it stands.
[[nodiscard]] KivResult TarnDataSetFromOuting(IKivOuting* outing, const TarnWaitForData& wait, TarnDataSet* data);

// The lap markers and spans alone, into `data`; nothing when the outing has
// no lap markers or they never arrive.
void TarnLapMarkersFromOuting(IKivOuting* outing, const TarnWaitForData& wait, TarnDataSet* data);

}  // namespace velmar
