#include "sources/spreadsheet/excel_write_back.h"

#include <algorithm>

#include "velmar/channel_key.h"

namespace velmar {

KivResult CExcelWriteBackChannelJobItem::Write() {
  if (!access() || !access()->handles().IsOpen()) return E_FAIL;
  return access()->handles().WriteChannels(items());
}

std::u16string ExcelSampleLimitWarning(const ExportChannelList& items,
                                       std::u16string (*displayName)(const CExportChannel&)) {
  if (items.empty() || !items.front()->resampled()) return {};
  const KivTime period = items.front()->period();
  KivTime start = kTimeMax;
  KivTime end = kTimeMin;
  for (const auto& item : items) {
    start = std::min(start, item->start());
    end = std::max(end, item->end());
  }
  if (start > end || (end - start) / period + 1 <= static_cast<KivTime>(kExcelRowLimit)) return {};
  std::u16string text = u"Warning Exporting Channels...\n\n\t65535 sample limit exceeded for channels:\n";
  const KivTime last = start + static_cast<KivTime>(kExcelRowLimit - 1) * period;
  for (const auto& item : items) {
    if (item->end() > last) text += u"\t\t" + displayName(*item) + u"\n";
  }
  text += u"\tSome data will not be exported from the end of the time region\n";
  return text;
}

KivResult CExcelWriteBackChannelStateMachine::MakeJob(CJobItem* writeAccess, ComPtr<CWriteBackJobItem>* job) {
  if (!writeAccess) return E_FAIL;
  const std::u16string warning = ExcelSampleLimitWarning(
      items(), [](const CExportChannel& item) { return ChannelDisplayName(item.GetName()); });
  if (!warning.empty()) NotifyMessage(warning);
  *job = MakeKiv<CExcelWriteBackChannelJobItem>(
      this, ComPtr<CExcelOutingTxnJobItem>(static_cast<CExcelOutingTxnJobItem*>(writeAccess)), TakeItems());
  return S_OK;
}

KivResult CExcelWriteBackEventsJobItem::Write() {
  if (!access() || !access()->handles().IsOpen()) return E_FAIL;
  return access()->handles().WriteEvents(events());
}

KivResult CExcelOutingInfoWBJobItem::Run() {
  if (!access_ || !access_->handles().IsOpen() || Failed(access_->handles().WriteInformation(properties()))) {
    return Fail(kInfoWriteFailed);
  }
  return S_OK;
}

}  // namespace velmar
