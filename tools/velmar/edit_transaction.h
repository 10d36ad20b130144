// One edit of a data set as one transaction: Begin, the calls that queue
// the steps, Commit, and a wait for the end. Every message the transaction
// sends makes the run fail with them all on one line.
#pragma once

#include <functional>
#include <string>

#include "loaded_outing.h"

namespace velmar::cli {

// `queue` makes the edit calls; a failure of one rolls back and fails the
// run ("the <what> was refused"). Throws HostError on any failure.
void RunEditTransaction(const LoadedOuting& outing, const std::string& what, const std::function<KivResult()>& queue);

}  // namespace velmar::cli
