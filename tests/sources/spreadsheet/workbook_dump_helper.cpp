#include <cstdio>
#include <memory>

#include "sources/spreadsheet/workbook.h"
#include "sources/spreadsheet/workbook_dump.h"
#include "support/fixtures.h"
#include "velmar/text.h"

namespace velmar::testing {

namespace {
std::string CellName(CellRef ref) {
  std::string letters;
  for (uint32_t c = ref.column + 1; c > 0; c = (c - 1) / 26) letters.insert(letters.begin(), char('A' + (c - 1) % 26));
  return letters + std::to_string(ref.row + 1);
}
}  // namespace

nlohmann::json OurDump(const std::filesystem::path& file) {
  Workbook book;
  if (Failed(ReadWorkbook(file, &book))) return nullptr;
  nlohmann::json out = nlohmann::json::object();
  for (const WorkbookSheet& sheet : book.sheets()) {
    nlohmann::json& cells = out[WideToUtf8(sheet.name)] = nlohmann::json::object();
    for (const auto& [ref, cell] : sheet.cells) {
      if (cell.kind == WorkbookCell::Kind::kNumber) cells[CellName(ref)] = cell.number;
      if (cell.kind == WorkbookCell::Kind::kOther) cells[CellName(ref)] = WideToUtf8(cell.text);
    }
  }
  return out;
}

std::optional<nlohmann::json> PythonDump(const std::filesystem::path& file) {
  const std::string script = FixtureRoot().parent_path() / "sources/spreadsheet/dump_workbook.py";
  const std::string command = "/usr/bin/python3 " + script + " '" + file.string() + "' 2>/dev/null";
  std::unique_ptr<FILE, int (*)(FILE*)> pipe(::popen(command.c_str(), "r"), ::pclose);
  if (!pipe) return std::nullopt;
  std::string text;
  char buffer[65536];
  for (size_t n; (n = std::fread(buffer, 1, sizeof buffer, pipe.get())) > 0;) text.append(buffer, n);
  const int status = ::pclose(pipe.release());
  if (status != 0 || text.empty()) return std::nullopt;
  return nlohmann::json::parse(text);
}

}  // namespace velmar::testing
