// Writing a whole outing as a new native store (.trn) file.
//
// Provisional: this stands in for the export path (selected data written to
// a new or an existing data set), which will carry the same work with
// resampling, selection and progress; hosts should expect it to move there.
#pragma once

#include <cstddef>
#include <functional>
#include <string>

#include "velmar/outing.h"
#include "velmar/result.h"

namespace velmar {

// What a conversion wrote.
struct KivConvertCounts {
  size_t channels = 0;
  size_t events = 0;
  size_t constants = 0;
};

// Runs the client thread until the outing's pending data may have come in
// (KivClientThread::RunUntilSettled, say); false gives up waiting.
using KivWaitForData = std::function<bool()>;

// Reads the outing's information, every channel with samples, its event
// sets, numeric constants and lap markers, and writes them to `path` (the
// file is written under a temporary name and renamed over `path` when
// complete, so a failure leaves what was there). Call on the client thread.
// E_POINTER for a null outing; E_INVALIDARG for data the store can't take;
// a store failure as it stands (STG_E_PATHNOTFOUND for a missing folder...).
[[nodiscard]] KivResult KivConvertToTarn(IKivOuting* outing, const std::u16string& path, const KivWaitForData& wait,
                                         KivConvertCounts* counts = nullptr);

}  // namespace velmar
