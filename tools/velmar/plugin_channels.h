// The channels of the Python plug-ins' data factories beside a selection's
// recorded ones: each channel factory found in the "Tools" folder joins the
// root's add-in list, and the root gives every selection an instance, so
// `channels`, `dump` and every reader of a selection see its channels.
#pragma once

#include "velmar/velmar.h"

namespace velmar::cli {

// Nothing when no plug-in offers channels; a factory that can't be made is
// skipped with a word on stderr. Once per root is enough; again does no harm.
void JoinPluginChannels(IKivVelmar* root);

}  // namespace velmar::cli
