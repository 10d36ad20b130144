// The channels of the Python plug-ins' data factories beside a selection's
// recorded ones: each channel factory found in the "Tools" folder is pointed
// at the selection and added as one of its sources, so `channels`, `dump`
// and every reader of the selection see its channels.
#pragma once

#include "velmar/data_selection.h"
#include "velmar/velmar.h"

namespace velmar::cli {

// Nothing when no plug-in offers channels; a factory that can't be made is
// skipped with a word on stderr.
void AttachPluginChannels(IKivVelmar* root, IKivDataSelection4* selection);

}  // namespace velmar::cli
