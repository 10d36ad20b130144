// The heavy runtimes the library uses now and then (FFmpeg for media,
// CPython for plug-ins) are modules of their own, loaded on first need: a
// process that never plays a clip or runs a plug-in never maps their
// hundred-odd shared libraries. A host may load its own the same way.
//
// A module is looked for, in order: in $VELMAR_MODULE_DIR alone when that is
// set; else beside the binary that holds the library (libvelmar.so, or the
// executable it is linked into), in `../<libdir>` from there (an installed
// command in bin/), in the build tree and in the installed library folder.
// Once loaded it stays: the runtimes keep threads and state to the end.
//
// Thread-safety: any thread.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "velmar/result.h"

namespace velmar {

// The folder of the binary that holds the library: libvelmar.so, or the
// executable it is linked into.
std::filesystem::path LibraryBinaryFolder();

// The folders searched, in order.
std::vector<std::filesystem::path> RuntimeModuleFolders();

// The address of `entry` in module `file` (a file name, e.g.
// "libvelmar_ffmpeg.so"), loading it on the first call. E_MOD_NOT_FOUND
// when no folder has a module that loads, E_PROC_NOT_FOUND when it lacks
// the entry; `error` then says which file, where it was looked for, and
// the loader's own text. A failure is remembered: later calls answer the
// same without searching again.
[[nodiscard]] KivResult LoadRuntimeModuleEntry(const std::string& file, const char* entry, void** address,
                                               std::string* error);

}  // namespace velmar
