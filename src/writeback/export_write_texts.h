// The texts of the writes that take their data from export items: the
// job's failure texts and the report of the step that collects the items.
#pragma once

#include <string_view>

namespace velmar {

struct ExportWriteTexts {
  std::u16string_view failed;      // the job's write failed
  std::u16string_view invalid;     // the job's check of the store refused the write
  std::u16string_view reportHead;  // once, before the items without data
  std::u16string_view noDataItem;  // per item without data, before its name
  std::u16string_view noDataAny;   // no item had data
};

inline constexpr ExportWriteTexts kChannelWriteTexts{
    u"Failed to write channels",
    u"Failed to write channels - duplicate channels found",
    u"Error Exporting Channels...\n",
    u"\tNo data found for channel ",
    u"Error Exporting Channels...\n\n\tNo data found for any of the selected channels\n",
};

inline constexpr ExportWriteTexts kEventWriteTexts{
    u"Failed to write events",
    u"Failed to write events - duplicate events found",
    u"Error Exporting Events...\n",
    u"\tNo data found for event ",
    u"Error Exporting Events...\n\n\tNo data found for any of the selected events\n",
};

inline constexpr ExportWriteTexts kRemoveEventsTexts{
    u"Failed to remove events",
    u"Failed to remove events - events not found",
    {},
    {},
    u"Failed to remove events - no events selected",
};

}  // namespace velmar
