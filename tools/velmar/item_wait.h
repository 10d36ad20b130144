// Reading an item whose data may still be on its way: a read that answers
// KIV_E_PENDING is tried again once the library's work has come back and the
// item's change notification has arrived.
#pragma once

#include <functional>
#include <string>

#include "host_session.h"
#include "velmar/unknown.h"

namespace velmar::cli {

// Calls `read` until it gives something other than KIV_E_PENDING, settling
// the session between tries; a data notifications sink on `item` (when it
// offers one) tells whether the wait brought anything. KIV_E_PENDING when the
// data never came: a load that failed stays silent, and asking again only
// starts it again.
[[nodiscard]] KivResult ReadWhenReady(HostSession& session, IKivUnknown* item, const std::string& what,
                                      const std::function<KivResult()>& read);

}  // namespace velmar::cli
