// The texts and names of a database replacement in the settings file. Once
// the new database is saved beside the old one there is no way back, and a
// failed step ends the process with its own text.
#pragma once

#include <string>

namespace velmar {

struct DatabaseReplacement {
  const char16_t* name;  // the storage of the database
  const char16_t* temp;  // where the new one is saved first
  // Fatal texts, one per step past the point of no return.
  std::u16string closeOld, saveNew, askOld, removeOld, deleteOld, renameNew, commitRoot, openNew, completeNew;
};

const DatabaseReplacement& ChannelDatabaseReplacement();
const DatabaseReplacement& EventDatabaseReplacement();

// Group database texts, in the order of the steps.
struct GroupReplacementTexts {
  std::u16string deleteOld, renameNew, commitRoot, openNew;
};
const GroupReplacementTexts& GroupDatabaseReplacement();

// Circuit map texts.
struct MapReplacementTexts {
  std::u16string deleteOld, createNew, commitRoot, writeNew;
};
const MapReplacementTexts& MapDataReplacement();

}  // namespace velmar
