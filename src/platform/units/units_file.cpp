#include "platform/units/units_file.h"

#include <cstdlib>
#include <fstream>
#include <sstream>
#include <system_error>

namespace velmar {
namespace {

namespace fs = std::filesystem;

// The data folder of the source tree this library was built from; named by the
// build, since __FILE__ is relative once the compiler cache rewrites paths.
fs::path SourceTreeCopy() {
#ifdef VELMAR_UNITS_SOURCE_PATH
  return fs::path(VELMAR_UNITS_SOURCE_PATH);
#else
  return {};
#endif
}

// <prefix>/bin/program -> <prefix>/share/velmar/units.json
fs::path BesideProgram() {
  std::error_code ec;
  fs::path exe = fs::read_symlink("/proc/self/exe", ec);
  if (ec || exe.empty()) return {};
  return exe.parent_path().parent_path() / "share" / "velmar" / "units.json";
}

struct SharedTable {
  KivResult result = E_UNEXPECTED;
  UnitCatalog catalog;
  std::string error;
};

}  // namespace

std::vector<fs::path> UnitsFileCandidates() {
  if (const char* named = std::getenv(kUnitsFileVariable); named && *named) return {fs::path(named)};
  std::vector<fs::path> out;
  for (fs::path p : {SourceTreeCopy(), BesideProgram()}) {
    if (!p.empty()) out.push_back(std::move(p));
  }
#ifdef VELMAR_UNITS_INSTALL_PATH
  out.emplace_back(VELMAR_UNITS_INSTALL_PATH);  // the build's install prefix, when the build names it
#endif
  out.emplace_back("/usr/local/share/velmar/units.json");
  out.emplace_back("/usr/share/velmar/units.json");
  return out;
}

KivResult LoadUnitsFile(const fs::path& path, UnitCatalog* out, std::string* error) {
  std::ifstream in(path, std::ios::binary);
  if (!in) {
    if (error) *error = "cannot open " + path.string();
    return STG_E_FILENOTFOUND;
  }
  std::ostringstream text;
  text << in.rdbuf();
  if (in.bad()) {
    if (error) *error = "cannot read " + path.string();
    return STG_E_READFAULT;
  }
  KivResult r = UnitCatalog::Parse(text.str(), out, error);
  if (Failed(r) && error) *error = path.string() + ": " + *error;
  return r;
}

KivResult LocateAndLoadUnits(UnitCatalog* out, std::string* error) {
  auto candidates = UnitsFileCandidates();
  for (const auto& p : candidates) {
    std::error_code ec;
    if (fs::is_regular_file(p, ec)) return LoadUnitsFile(p, out, error);
  }
  if (error) {
    *error = "units.json not found; set " + std::string(kUnitsFileVariable) + ". Searched:";
    for (const auto& p : candidates) *error += " " + p.string();
  }
  return STG_E_FILENOTFOUND;
}

const UnitCatalog* SharedUnitCatalog(KivResult* result) {
  static const SharedTable table = [] {
    SharedTable t;
    t.result = LocateAndLoadUnits(&t.catalog, &t.error);
    return t;
  }();
  if (result) *result = table.result;
  return Succeeded(table.result) ? &table.catalog : nullptr;
}

}  // namespace velmar
