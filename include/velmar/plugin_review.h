// The review after load, for hosts: at the end of each Load, the first root
// of the process (made while no other root lived) checks its plug-in entries
// against the settings file, and hands the type names of those found
// consistent, in stored order, to the delegate set here. Entries dropped by
// the review are not named. Other roots hand nothing on, and without a
// delegate nothing is handed on.
//
//   KivSetReviewToolsDelegate([](const std::vector<std::u16string>& names) { ... });
//
// Client thread only.
#pragma once

#include <functional>
#include <string>
#include <vector>

namespace velmar {

using KivReviewToolsDelegate = std::function<void(const std::vector<std::u16string>& type_names)>;

// Replaces the delegate; an empty one clears it.
void KivSetReviewToolsDelegate(KivReviewToolsDelegate delegate);

}  // namespace velmar
