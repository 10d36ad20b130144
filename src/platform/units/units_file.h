// Where the units table comes from: finding units.json and reading it once
// per process.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "platform/units/unit_catalog.h"

namespace velmar {

inline constexpr const char* kUnitsFileVariable = "VELMAR_UNITS_FILE";

// The places searched, in order: the file named by VELMAR_UNITS_FILE alone
// when it is set; otherwise the copy in the source tree this library was
// built from, share/velmar/units.json beside the running program's prefix,
// the install path VELMAR_UNITS_INSTALL_PATH when the build defines it,
// /usr/local/share/velmar and /usr/share/velmar.
std::vector<std::filesystem::path> UnitsFileCandidates();

// Reads and parses one file. STG_E_FILENOTFOUND when it can't be opened.
[[nodiscard]] KivResult LoadUnitsFile(const std::filesystem::path& path, UnitCatalog* out,
                                      std::string* error);

// The first candidate that exists, loaded. STG_E_FILENOTFOUND when none exists.
[[nodiscard]] KivResult LocateAndLoadUnits(UnitCatalog* out, std::string* error);

// The process-wide table, loaded on first call (thread-safe) and kept for the
// life of the process. Null with the failure in `result` when it can't be read;
// the failure is kept too, so a later call answers the same.
const UnitCatalog* SharedUnitCatalog(KivResult* result);

}  // namespace velmar
