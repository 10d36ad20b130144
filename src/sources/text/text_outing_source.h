// The text source's place in the outing factory: registration of type 3,
// and the one call a tool needs to open a text data set as an outing.
#pragma once

#include <string>

#include "velmar/outing.h"
#include "velmar/result.h"
#include "velmar/unknown.h"

namespace velmar {

// Registers the text source for OutingType::kText with the outing factory,
// unless it is registered already. Call before the first text outing is
// asked for (module start, a tool's main).
[[nodiscard]] KivResult RegisterTextOutingSource();

// Opens `path` as a text outing through an outing factory, registering the
// source first. S_OK when the file is there (or, with create, its creation
// was queued: the outing hears OnCreated); S_FALSE with an empty outing when
// it is not; a failure code and null otherwise. Client thread only.
[[nodiscard]] KivResult OpenTextOuting(const std::u16string& path, bool create, ComPtr<IKivOuting>* outing);

}  // namespace velmar
