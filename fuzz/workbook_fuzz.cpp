// Feeds bytes to both workbook readers (.xls with freexl, .xlsx with minizip
// and expat), as a spreadsheet constant or a write's first read does. What
// reads must write again in both forms and read back to the same cells.
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>

#include "platform/file_ops.h"
#include "sources/spreadsheet/workbook.h"
#include "sources/spreadsheet/workbook_write.h"

namespace {

using namespace velmar;

void Check(bool ok, const char* what) {
  if (ok) return;
  std::fprintf(stderr, "workbook_fuzz: %s\n", what);
  std::abort();
}

std::filesystem::path Scratch(const char* extension) {
  return std::filesystem::temp_directory_path() / ("workbook_fuzz_" + std::to_string(::getpid()) + extension);
}

// libxlsxwriter writes 16 significant digits: the last bit of a double may go.
bool Close(double a, double b) {
  return a == b || std::fabs(a - b) <= 1e-15 * std::max(std::fabs(a), std::fabs(b)) || (std::isnan(a) && std::isnan(b));
}

bool SameCells(const Workbook& a, const Workbook& b) {
  if (a.sheets().size() != b.sheets().size()) return false;
  for (size_t i = 0; i < a.sheets().size(); ++i) {
    const auto& x = a.sheets()[i].cells;
    const auto& y = b.sheets()[i].cells;
    for (const auto& [ref, cell] : x) {
      const WorkbookCell other = b.sheets()[i].At(ref);
      const bool emptyText = cell.kind == WorkbookCell::Kind::kOther && cell.text.empty();
      if (emptyText) continue;  // a flag or an error cell: no value travels
      if (other.kind != cell.kind || (cell.kind == WorkbookCell::Kind::kNumber && !Close(other.number, cell.number))) {
        return false;
      }
    }
    if (y.size() > x.size()) return false;
  }
  return true;
}

void WriteBack(const Workbook& read, const char* extension) {
  std::string bytes;
  const KivResult r =
      std::string(extension) == ".xls" ? XlsWorkbookBytes(read, &bytes) : XlsxWorkbookBytes(read, &bytes);
  if (Failed(r)) return;  // a sheet name or cell the form cannot hold
  const std::filesystem::path again = Scratch(extension);
  Check(Succeeded(DefaultFileOps().WriteNew(again, bytes)), "cannot write the scratch file");
  Workbook back;
  Check(Succeeded(ReadWorkbook(again, &back)), "a written workbook does not read");
  Check(SameCells(read, back), "a written workbook reads back with other cells");
  std::filesystem::remove(again);
}

void ReadAs(std::string_view bytes, const char* extension) {
  const std::filesystem::path file = Scratch(extension);
  Check(Succeeded(DefaultFileOps().WriteNew(file, bytes)), "cannot write the scratch file");
  Workbook read;
  const bool ok = Succeeded(ReadWorkbook(file, &read));
  std::filesystem::remove(file);
  if (!ok) return;
  for (const char* form : {".xlsx", ".xls"}) WriteBack(read, form);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string_view bytes(reinterpret_cast<const char*>(data), size);
  ReadAs(bytes, ".xls");
  ReadAs(bytes, ".xlsx");
  return 0;
}
