// BIFF8: a "Workbook" stream of records (type, length, data) in a compound
// file. The globals (fonts, the cell formats every reader expects, one sheet
// entry each) come first, then each sheet's records; numbers are NUMBER
// records and texts LABEL records, which need no shared string table.
#include <cstring>

#include "platform/storage/cfb_codec.h"
#include "sources/spreadsheet/workbook_write.h"
#include "velmar/text.h"

namespace velmar {
namespace {

constexpr uint16_t kBof = 0x0809, kEof = 0x000A, kCodepage = 0x0042, kWindow1 = 0x003D, kFont = 0x0031,
                   kXf = 0x00E0, kStyle = 0x0293, kBoundSheet = 0x0085, kDimensions = 0x0200, kNumber = 0x0203,
                   kLabel = 0x0204, kWindow2 = 0x023E;
constexpr uint16_t kCellXf = 15;  // the first cell format, after the 15 style formats
constexpr size_t kMaxSheetName = 31;

class Records {
 public:
  void Add(uint16_t type, const std::string& data) {
    U16(out_, type);
    U16(out_, static_cast<uint16_t>(data.size()));
    out_ += data;
  }
  std::string& bytes() { return out_; }

  static void U8(std::string& s, uint8_t v) { s.push_back(static_cast<char>(v)); }
  static void U16(std::string& s, uint16_t v) {
    s.push_back(static_cast<char>(v & 0xFF));
    s.push_back(static_cast<char>(v >> 8));
  }
  static void U32(std::string& s, uint32_t v) {
    U16(s, static_cast<uint16_t>(v & 0xFFFF));
    U16(s, static_cast<uint16_t>(v >> 16));
  }
  // UTF-16LE characters, after the "high byte" flag.
  static void Chars(std::string& s, std::u16string_view text) {
    U8(s, 1);
    for (char16_t c : text) U16(s, static_cast<uint16_t>(c));
  }

 private:
  std::string out_;
};

std::string Bof(uint16_t kind) {
  std::string d;
  Records::U16(d, 0x0600);  // BIFF8
  Records::U16(d, kind);    // 5 globals, 0x10 a worksheet
  Records::U16(d, 0x0DBB);
  Records::U16(d, 0x07CC);
  Records::U32(d, 0);
  Records::U32(d, 6);
  return d;
}

std::string Hex(std::initializer_list<uint8_t> bytes) { return std::string(bytes.begin(), bytes.end()); }

void Globals(Records& r, const Workbook& workbook, const std::vector<uint32_t>& sheetAt) {
  r.Add(kBof, Bof(0x0005));
  r.Add(kCodepage, Hex({0xB0, 0x04}));  // 1200: UTF-16
  r.Add(kWindow1, Hex({0, 0, 0, 0, 0x00, 0x40, 0x00, 0x20, 0x38, 0, 0, 0, 0, 0, 1, 0, 0x58, 0x02}));
  std::string font = Hex({0xC8, 0, 0, 0, 0xFF, 0x7F, 0x90, 0x01, 0, 0, 0, 0, 0, 0});
  Records::U8(font, 5);
  Records::Chars(font, u"Arial");
  for (int i = 0; i < 5; ++i) r.Add(kFont, font);  // font 4 is never used: readers skip it
  const std::string styleXf = Hex({0, 0, 0, 0, 0xF5, 0xFF, 0x20, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0xC0, 0x20});
  for (int i = 0; i < kCellXf; ++i) r.Add(kXf, styleXf);
  r.Add(kXf, Hex({0, 0, 0, 0, 0x01, 0x00, 0x20, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0xC0, 0x20}));
  r.Add(kStyle, Hex({0x00, 0x80, 0x00, 0xFF}));
  for (size_t i = 0; i < workbook.sheets().size(); ++i) {
    const std::u16string& name = workbook.sheets()[i].name;
    std::string d;
    Records::U32(d, sheetAt[i]);
    Records::U16(d, 0);  // visible worksheet
    Records::U8(d, static_cast<uint8_t>(name.size()));
    Records::Chars(d, name);
    r.Add(kBoundSheet, d);
  }
  r.Add(kEof, {});
}

std::string CellHead(CellRef ref) {
  std::string d;
  Records::U16(d, static_cast<uint16_t>(ref.row));
  Records::U16(d, static_cast<uint16_t>(ref.column));
  Records::U16(d, kCellXf);
  return d;
}

void Sheet(Records& r, const WorkbookSheet& sheet, bool first) {
  r.Add(kBof, Bof(0x0010));
  uint32_t rows = 0;
  uint16_t columns = 0;
  for (const auto& [ref, cell] : sheet.cells) {
    rows = std::max(rows, ref.row + 1);
    columns = std::max(columns, static_cast<uint16_t>(ref.column + 1));
  }
  std::string dimensions;
  Records::U32(dimensions, 0);
  Records::U32(dimensions, rows);
  Records::U16(dimensions, 0);
  Records::U16(dimensions, columns);
  Records::U16(dimensions, 0);
  r.Add(kDimensions, dimensions);
  for (const auto& [ref, cell] : sheet.cells) {
    std::string d = CellHead(ref);
    if (cell.kind == WorkbookCell::Kind::kNumber) {
      char raw[8];
      std::memcpy(raw, &cell.number, 8);
      d.append(raw, 8);
      r.Add(kNumber, d);
    } else if (cell.kind == WorkbookCell::Kind::kOther && !cell.text.empty()) {
      const std::u16string_view text = std::u16string_view(cell.text).substr(0, kXlsMaxTextLength);
      Records::U16(d, static_cast<uint16_t>(text.size()));
      Records::Chars(d, text);
      r.Add(kLabel, d);
    }
  }
  // Grid lines, headers, zeros shown; the first sheet is the selected one.
  r.Add(kWindow2, Hex({0xB6, static_cast<uint8_t>(first ? 0x06 : 0x00), 0, 0, 0, 0, 0x40, 0, 0, 0, 0, 0, 0, 0, 0, 0,
                       0, 0}));
  r.Add(kEof, {});
}

bool FitsBiff8(const Workbook& workbook) {
  for (const WorkbookSheet& sheet : workbook.sheets()) {
    if (sheet.name.empty() || sheet.name.size() > kMaxSheetName) return false;
    if (!sheet.cells.empty() && sheet.cells.rbegin()->first.row >= kXlsMaxRows) return false;
    for (const auto& [ref, cell] : sheet.cells) {
      if (ref.column >= kXlsMaxColumns) return false;
    }
  }
  return !workbook.sheets().empty();
}

}  // namespace

KivResult XlsWorkbookBytes(const Workbook& workbook, std::string* bytes) {
  if (!bytes) return E_POINTER;
  if (!FitsBiff8(workbook)) return E_FAIL;
  std::vector<std::string> sheets;
  for (size_t i = 0; i < workbook.sheets().size(); ++i) {
    Records r;
    Sheet(r, workbook.sheets()[i], i == 0);
    sheets.push_back(std::move(r.bytes()));
  }
  // The globals' size does not hang on the offsets they hold: build once to
  // measure, then again with each sheet's place.
  std::vector<uint32_t> at(sheets.size(), 0);
  Records measure;
  Globals(measure, workbook, at);
  size_t offset = measure.bytes().size();
  for (size_t i = 0; i < sheets.size(); ++i) {
    at[i] = static_cast<uint32_t>(offset);
    offset += sheets[i].size();
  }
  Records stream;
  Globals(stream, workbook, at);
  for (const std::string& sheet : sheets) stream.bytes() += sheet;
  auto root = StorageNode::NewStorage(u"Root Entry");
  root->Add(StorageNode::NewStream(u"Workbook", std::move(stream.bytes())));
  return SerializeCompoundFile(*root, bytes);
}

}  // namespace velmar
