// The caption of an outing in a format of one's own: the text between "%"
// pairs is a token ("default", "car", "date", "driver", "fastlap",
// "fasttime", "filename", "firstlap", "outing", "session", "track"), an
// unknown token prints nothing, and a property that cannot be read prints
// "#" (a number out of range "xxx").
#pragma once

#include <string>

#include "velmar/outing.h"
#include "velmar/velmar.h"

namespace velmar {

// `format` empty means "%default%". `root` (may be null) gives the time
// format of "fasttime"; without one it is minutes and seconds to three
// decimals. E_POINTER for a null outing or out; otherwise S_OK: a caption
// always has a text.
KivResult KivFormatOutingCaption(IKivOuting* outing, const std::u16string& format, IKivVelmar* root,
                                 std::u16string* caption);

}  // namespace velmar
