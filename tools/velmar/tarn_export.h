// A loaded outing as the plain data set a new `.trn` file is written from:
// its information, every channel's blocks (values in their quantity's base
// unit), its events and its constants.
#pragma once

#include "loaded_outing.h"
#include "sources/tarn/tarn_data_set.h"

namespace velmar::cli {

TarnDataSet ExportForTarn(const LoadedOuting& outing);

}  // namespace velmar::cli
