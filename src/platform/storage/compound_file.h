// Compound files on disk through a FileOps seam: the forms of
// StgCreateDocfile and StgOpenStorage that tests use to make a read, write,
// sync or rename fail.
#pragma once

#include <filesystem>

#include "platform/file_ops.h"
#include "velmar/storage.h"

namespace velmar {

// `ops` must outlive every object of the returned tree.
KivResult CreateCompoundFile(FileOps& ops, const std::filesystem::path& file, uint32_t mode,
                             IKivStorage** out);
KivResult OpenCompoundFile(FileOps& ops, const std::filesystem::path& file, uint32_t mode,
                           IKivStorage** out);

}  // namespace velmar
