#include "sources/spreadsheet/excel_file_handles.h"

#include <algorithm>

#include "outing/blocks/channel_iterator.h"
#include "outing/blocks/fast_iterator.h"
#include "velmar/channel_key.h"

namespace velmar {
namespace {

WorkbookCell Number(double value) { return {WorkbookCell::Kind::kNumber, value, {}}; }
WorkbookCell Text(std::u16string text) {
  if (text.empty()) return {};
  return {WorkbookCell::Kind::kOther, 0, std::move(text)};
}
double Seconds(KivTime time) { return static_cast<double>(time) / 1e7; }

WorkbookCell ValueCell(const Variant& value) {
  if (const std::u16string* text = value.AsText()) return Text(WithoutCarriageReturns(*text));
  if (value.AsTime()) return Text(value.ToText());
  if (const std::optional<double> number = value.ToDouble()) return Number(*number);
  return Text(value.ToText());
}

// The title row of a sheet.
CellBlock Titles(std::initializer_list<std::u16string_view> titles) {
  CellBlock block(1, titles.size());
  size_t column = 0;
  for (std::u16string_view title : titles) block.At(0, column++) = Text(std::u16string(title));
  return block;
}

// The column title of an item: the name of its channel key.
std::u16string ColumnName(const CExportChannel& item) {
  CChannelKey key;
  return CChannelKey::Parse(item.GetName(), &key) ? key.name() : item.GetName();
}

// One channel's walk over the grid: values from its collected blocks.
class ChannelWalk {
 public:
  explicit ChannelWalk(const CExportChannel& item) {
    fast_.Attach(MakeKiv<CChannelIterator>(std::make_shared<DataBlockList>(item.blocks()), nullptr, nullptr).Get());
  }
  bool done() const { return done_; }
  // Fills the cell at t; false when the channel gave nothing (before its start, or done).
  bool At(KivTime t, WorkbookCell* cell) {
    if (done_) return false;
    double value = 0;
    switch (fast_.GetValue(t, &value)) {
      case CFastIterator::kValue:
        *cell = Number(value);
        return true;
      case CFastIterator::kBeforeFirst:
        return true;
      default:
        done_ = true;
        return false;
    }
  }

 private:
  CFastIterator fast_;
  bool done_ = false;
};

}  // namespace

std::u16string ExcelCategoryText(uint32_t category) {
  if (category == 0) return u"Box Created";
  if (category == 1 || category == 2) return u"Kivara Added";
  return {};
}

std::u16string WithoutCarriageReturns(std::u16string_view text) {
  std::u16string out;
  out.reserve(text.size());
  for (char16_t c : text) {
    if (c != u'\r') out.push_back(c);
  }
  return out;
}

KivResult CExcelFileHandles::Close() {
  if (!file_.IsOpen()) return S_OK;
  const KivResult r = file_.Save();
  file_.Close();
  return r;
}

void CExcelFileHandles::SelectSheet(size_t sheet) {
  sheet_ = sheet;
  row_ = 1;
  column_ = 1;
}

KivResult CExcelFileHandles::WriteArray(const CellBlock& block) {
  if (!file_.IsOpen() || sheet_ == 0) return E_FAIL;
  return file_.SetRange(sheet_ - 1, CellRef{static_cast<uint32_t>(row_ - 1), static_cast<uint32_t>(column_ - 1)},
                        block);
}

void CExcelFileHandles::FormatSheet(bool freeze) {
  if (sheet_ >= 1 && sheet_ <= file_.workbook().sheets().size()) file_.workbook().sheets()[sheet_ - 1].frozen = freeze;
}

KivResult CExcelFileHandles::WriteInformation(const PropertyList& properties) {
  SelectSheet(1);
  CellBlock block(properties.size() + 1, 2);
  block.At(0, 0) = Text(u"Name");
  block.At(0, 1) = Text(u"Value");
  for (size_t i = 0; i < properties.size(); ++i) {
    block.At(i + 1, 0) = Text(properties[i].name);
    block.At(i + 1, 1) = ValueCell(properties[i].value);
  }
  if (const KivResult r = WriteArray(block); Failed(r)) return r;
  FormatSheet(false);
  return S_OK;
}

KivResult CExcelFileHandles::WriteChannels(const std::vector<std::unique_ptr<CExportChannel>>& items) {
  if (items.empty()) return E_FAIL;
  if (!items.front()->resampled()) return E_NOTIMPL;
  SelectSheet(2);
  const size_t n = std::min<size_t>(items.size(), kExcelChannelLimit);
  CellBlock header(1, n + 1);
  header.At(0, 0) = Text(u"Time");
  KivTime start = kTimeMax;
  KivTime end = kTimeMin;
  std::vector<ChannelWalk> walks;
  walks.reserve(n);
  for (size_t i = 0; i < n; ++i) {
    const CExportChannel& item = *items[i];
    header.At(0, i + 1) = Text(ColumnName(item));
    if (!item.blocks().empty()) {
      start = std::min(start, item.blocks().front()->StartTime());
      end = std::max(end, item.blocks().back()->EndTime());
    }
    walks.emplace_back(item);
  }
  const KivTime period = items.front()->period();
  if (start > end || period <= 0) return E_FAIL;
  if (const KivResult r = WriteArray(header); Failed(r)) return r;
  NextRows(1);
  const uint64_t rows = std::min<uint64_t>(static_cast<uint64_t>((end - start) / period) + 1, kExcelRowLimit);
  bool walking = true;
  for (uint64_t done = 0; done < rows && walking;) {
    CellBlock block(std::min<uint64_t>(kExcelBlockRows, rows - done), n + 1);
    size_t filled = 0;
    for (; filled < block.rows; ++filled) {
      const KivTime t = start + static_cast<KivTime>(done + filled) * period;
      bool any = false;
      for (size_t i = 0; i < n; ++i) any = walks[i].At(t, &block.At(filled, i + 1)) || any;
      if (!any) {
        walking = false;
        break;
      }
      block.At(filled, 0) = Number(Seconds(t));
    }
    block.rows = filled;
    block.cells.resize(filled * block.columns);
    if (const KivResult r = WriteArray(block); Failed(r)) return r;
    NextRows(filled);
    done += filled;
  }
  FormatSheet(true);
  return S_OK;
}

KivResult CExcelFileHandles::WriteEvents(const std::vector<CExportEvent>& events) {
  SelectSheet(3);
  if (const KivResult r = WriteArray(Titles({u"Time", u"Name", u"Category", u"Source", u"Message"})); Failed(r)) {
    return r;
  }
  NextRows(1);
  const size_t rows = std::min<size_t>(events.size(), kExcelRowLimit);
  for (size_t done = 0; done < rows;) {
    CellBlock block(std::min(kExcelBlockRows, rows - done), 5);
    for (size_t k = 0; k < block.rows; ++k) {
      const CExportEvent& e = events[done + k];
      block.At(k, 0) = Number(Seconds(e.time));
      block.At(k, 1) = Text(e.name);
      block.At(k, 2) = Text(ExcelCategoryText(e.category));
      block.At(k, 3) = Text(e.source);
      block.At(k, 4) = Text(e.message);
    }
    if (const KivResult r = WriteArray(block); Failed(r)) return r;
    NextRows(block.rows);
    done += block.rows;
  }
  FormatSheet(true);
  return S_OK;
}

}  // namespace velmar
