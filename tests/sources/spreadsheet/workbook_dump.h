// A workbook's cells as JSON, {sheet: {"B2": value}}, by our reader and by
// an independent one (/usr/bin/python3 with openpyxl or xlrd).
#pragma once

#include <filesystem>
#include <optional>

#include <nlohmann/json.hpp>

namespace velmar::testing {

nlohmann::json OurDump(const std::filesystem::path& file);
// Nothing when the machine lacks the reader (the caller skips with a message).
std::optional<nlohmann::json> PythonDump(const std::filesystem::path& file);

}  // namespace velmar::testing
