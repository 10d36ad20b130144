// Writes tiny .xlsx workbooks for tests: each sheet a list of (cell, XML of
// the cell's content).
#pragma once

#include <filesystem>
#include <string>
#include <utility>
#include <vector>

namespace velmar::testing {

struct XlsxSheet {
  std::string name;
  // ("B2", "<v>1.5</v>"), ("A1", "") for a cell with no value, and so on;
  // the second part may start with a type: "t=\"s\"|<v>0</v>".
  std::vector<std::pair<std::string, std::string>> cells;
};

// False when the archive couldn't be written.
bool WriteXlsx(const std::filesystem::path& file, const std::vector<XlsxSheet>& sheets, int activeTab = 0,
               const std::vector<std::pair<std::string, std::string>>& definedNames = {});

}  // namespace velmar::testing
