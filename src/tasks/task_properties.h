// The streams of a task's storage: the 80-byte "Task Properties" header
// (version 4) with its three texts, and the 16-byte header of the lists of
// storage names ("Data Selection List", "Extension List", "Task List").
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "velmar/guid.h"
#include "velmar/storage.h"
#include "velmar/types.h"

namespace velmar {

inline constexpr uint32_t kTaskHeaderSize = 80;
inline constexpr uint32_t kTaskHeaderVersion = 4;

struct TaskProperties {
  int32_t activeSelection = -1;
  uint32_t colourSeed = 255;
  int32_t secondSelection = -1;
  KivTime currentTime = 0;
  bool followLive = false;
  bool watchEnabled = false;
  uint32_t watchMode = 1;
  int32_t watchSelection = -1;
  uint32_t defaultRegionMode = 3;
  Guid defaultFinderClass;
  bool watchFollows = false;
  std::u16string name, description, watchFolder;
};

[[nodiscard]] KivResult ReadTaskProperties(IKivStream* stream, TaskProperties* out);
// The whole stream: header and texts.
[[nodiscard]] KivResult WriteTaskProperties(IKivStream* stream, const TaskProperties& p);

// A list of storage names after its header: u32 size 16, u32 version 1,
// u32 count of lines ever written (the next name's number), u32 count of
// lines. A line is one text, or several (`perLine`, given before a read).
struct NameListStream {
  uint32_t written = 0;
  std::vector<std::u16string> names;  // `perLine` texts a line
  uint32_t perLine = 1;
};

[[nodiscard]] KivResult ReadNameList(IKivStream* stream, NameListStream* out);
[[nodiscard]] KivResult WriteNameList(IKivStream* stream, const NameListStream& list);

}  // namespace velmar
