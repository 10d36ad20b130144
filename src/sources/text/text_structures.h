// Plain structures a text data set reads into and is written from. They own
// everything and hold no file: a load job fills them on its worker thread and
// hands them over whole.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "sources/text/large_buffer.h"
#include "velmar/types.h"

namespace velmar {

// One line of the {OutingInformation} block, unescaped. Unknown keys are
// kept so that a rewrite can put them back in place.
struct TextInfoEntry {
  std::u16string key;
  std::u16string value;
  friend bool operator==(const TextInfoEntry&, const TextInfoEntry&) = default;
};

// One column of a {ChannelBlock}: the samples in which it had a value, times
// in seconds. Two layouts, both freed with free() (see SampleBuffer):
//  - `timeData` null: `data` is one allocation of `count` times followed by
//    `count` values, the layout a raw channel can take over without a copy;
//  - `timeData` set: it holds the times, which the columns of one block that
//    kept every row share, and `data` holds the values only.
struct TextColumn {
  std::u16string header;  // the column name as the file has it
  std::u16string name;    // the header without its unit
  std::u16string unit;    // text between the final "[" and "]"; may be empty
  uint64_t block = 0;     // 0-based index of the {ChannelBlock} in the file
  uint32_t count = 0;
  SampleBuffer data;
  std::shared_ptr<const double[]> timeData;

  std::span<const double> times() const { return {timeData ? timeData.get() : data.get(), count}; }
  std::span<const double> values() const { return {data.get() + (timeData ? 0 : count), count}; }
  std::span<double> values() { return {data.get() + (timeData ? 0 : count), count}; }
};

// Category values of events.
inline constexpr uint32_t kEventFromCar = 0;       // "Box Created"
inline constexpr uint32_t kEventFromAnalysis = 1;  // any other text

// One row of an {EventBlock}. The time is in ticks, as the file gives it:
// no base is added back.
struct TextEvent {
  KivTime time = 0;
  std::u16string name;
  uint32_t category = kEventFromAnalysis;
  std::u16string source;
  std::u16string message;
  friend bool operator==(const TextEvent&, const TextEvent&) = default;
};

// Events grouped into sets: name -> time -> event; of two rows with one name
// and one time the first stands.
using TextEventSets = std::map<std::u16string, std::map<KivTime, TextEvent>>;

// One row of a {ConstantBlock}.
struct TextConstant {
  std::u16string name;
  double value = 0;
  std::u16string comment;
  friend bool operator==(const TextConstant&, const TextConstant&) = default;
};

// Everything one file holds, as the reader sees it.
struct TextDataSet {
  bool versioned = false;                   // "KivaraVersionedASCIIDataSet"
  std::vector<TextInfoEntry> information;   // in file order
  std::vector<TextColumn> columns;          // every {ChannelBlock}, in file order
  std::vector<TextEvent> events;            // rows of the last {EventBlock}, in file order
  std::vector<TextConstant> constants;      // the last {ConstantBlock}; first of a name stands
};

}  // namespace velmar
