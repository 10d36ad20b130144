// CExcelFileHandles: the writer of a spreadsheet outing's workbook. It holds
// the workbook open from Open to Close (Close saves), selects a sheet, and
// writes arrays of values from its current cell: the outing information,
// channels on a resampled grid, and events, each on its own sheet with its
// title row.
//
// Not thread-safe: one job uses it at a time, on "Velmar_Excel_Thread".
#pragma once

#include <filesystem>
#include <memory>
#include <string_view>
#include <vector>

#include "export/export_channel.h"
#include "export/export_event_set.h"
#include "sources/spreadsheet/workbook_file.h"
#include "velmar/property_set.h"

namespace velmar {

// The three sheets of a spreadsheet outing, in their order.
inline constexpr std::u16string_view kInformationSheet = u"Outing Information";
inline constexpr std::u16string_view kChannelSheet = u"Channel Data";
inline constexpr std::u16string_view kEventSheet = u"Event Data";
inline constexpr std::u16string_view kExcelSheets[] = {kInformationSheet, kChannelSheet, kEventSheet};

// The limits of one write.
inline constexpr uint32_t kExcelChannelLimit = 255;  // with "Time", 256 columns
inline constexpr uint32_t kExcelRowLimit = 65535;    // rows of samples or events
inline constexpr size_t kExcelBlockRows = 1024;      // rows sent in one array

// The category texts of an event, by its category.
std::u16string ExcelCategoryText(uint32_t category);
// A text as a cell takes it: every CR dropped, so a line break is LF alone.
std::u16string WithoutCarriageReturns(std::u16string_view text);

class CExcelFileHandles {
 public:
  explicit CExcelFileHandles(std::filesystem::path path, FileOps& ops = DefaultFileOps())
      : file_(std::move(path), ops) {}

  // The workbook read and locked; what CWorkbookFile::Open gives.
  [[nodiscard]] KivResult Open() { return file_.Open(); }
  // Saves (the old workbook stays on a failure) and lets the workbook go.
  [[nodiscard]] KivResult Close();
  // Lets the workbook go unsaved (a cancelled transaction).
  void Abandon() { file_.Close(); }
  bool IsOpen() const { return file_.IsOpen(); }

  // `sheet` from 1; the current cell becomes A1.
  void SelectSheet(size_t sheet);
  // The array from the current cell; the current cell does not move.
  [[nodiscard]] KivResult WriteArray(const CellBlock& block);
  [[nodiscard]] KivResult WriteInformation(const PropertyList& properties);
  // E_FAIL for no items or an empty range, E_NOTIMPL when the first item is
  // not resampled. The items hold times less the export's base and values
  // in the destination's unit already.
  [[nodiscard]] KivResult WriteChannels(const std::vector<std::unique_ptr<CExportChannel>>& items);
  // Times less the export's base already.
  [[nodiscard]] KivResult WriteEvents(const std::vector<CExportEvent>& events);

 private:
  void FormatSheet(bool freeze);
  // Moves the current cell down by `rows`, to column 1.
  void NextRows(size_t rows) {
    row_ += rows;
    column_ = 1;
  }

  CWorkbookFile file_;
  size_t sheet_ = 1;
  size_t row_ = 1;
  size_t column_ = 1;
};

}  // namespace velmar
