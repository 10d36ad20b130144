// One edit of a data set as one transaction: Begin, the calls that queue
// the steps, Commit, and a wait for the end. Every message the transaction
// sends makes the run fail with them all on one line.
#pragma once

#include <functional>
#include <string>

#include "loaded_outing.h"

namespace velmar::cli {

// Words for a refused edit, from the code the edit calls gave.
using EditRefusal = std::function<std::string(KivResult)>;

// `queue` makes the edit calls; a failure of one rolls back and fails the
// run ("the <what> was refused", or the words of `refusal` when given).
// Throws HostError on any failure.
void RunEditTransaction(const LoadedOuting& outing, const std::string& what, const std::function<KivResult()>& queue,
                        const EditRefusal& refusal = {});

}  // namespace velmar::cli
