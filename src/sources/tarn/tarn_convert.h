// Writing a whole outing to a new `.trn` file.
//
// The file is written beside its final path under a temporary name,
// committed, closed, and only then renamed over `path`: a reader never sees
// a half-written file, and a failure leaves whatever was at `path` before.
//
// Runs the store on the calling thread, which must not be one that a live
// outing's store work runs on at the same time for the same file.
#pragma once

#include <string>

#include "sources/tarn/tarn_connection.h"
#include "sources/tarn/tarn_data_set.h"

namespace velmar {

// Writes `data` to `path`, replacing a file there. E_INVALIDARG for a block
// the store can't take (no values, times not matching values, more than
// 2^31 - 1 values, a period of 0 with no times); a store failure as it
// stands (STG_E_PATHNOTFOUND for a missing folder, STG_E_ACCESSDENIED...).
[[nodiscard]] KivResult WriteTarnDataSet(const std::u16string& path, const TarnDataSet& data,
                                         const TarnStoreFactoryMaker& makeFactory = DefaultTarnStoreFactoryMaker());

}  // namespace velmar
