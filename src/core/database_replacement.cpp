#include "core/database_replacement.h"

#include "core/settings_file.h"

namespace velmar {

namespace {

std::u16string Fatal(const std::u16string& what) {
  return u"Kivara has encountered a non-recoverable situation " + what + u"\n and needs to exit.";
}

DatabaseReplacement MakeReplacement(const char16_t* name, const char16_t* temp, const std::u16string& db,
                                    const std::u16string& saveNew) {
  return {name,
          temp,
          Fatal(u"while trying to close the old " + db),
          Fatal(saveNew),
          Fatal(u"while attempting to remove the old " + db),
          Fatal(u"while trying to remove the old " + db),
          Fatal(u"while trying to delete the storage for the old " + db),
          Fatal(u"while trying to rename the storage for the new " + db),
          Fatal(u"while trying to commit changes to the " + db),
          Fatal(u"while opening the new " + db),
          Fatal(u"while trying to commit the changes to the " + db)};
}

}  // namespace

const DatabaseReplacement& ChannelDatabaseReplacement() {
  static const DatabaseReplacement kTexts =
      MakeReplacement(settings_names::kChannelProperties, settings_names::kChannelPropertiesTemp,
                      u"Channel Database", u"while trying to save the new Channel Database");
  return kTexts;
}

const DatabaseReplacement& EventDatabaseReplacement() {
  static const DatabaseReplacement kTexts =
      MakeReplacement(settings_names::kEventProperties, settings_names::kEventPropertiesTemp, u"Event Database",
                      u"while trying to commit the new Event Database");
  return kTexts;
}

const GroupReplacementTexts& GroupDatabaseReplacement() {
  static const GroupReplacementTexts kTexts{Fatal(u"while trying to delete the old Group Database"),
                                            Fatal(u"while trying to rename the storage for the new Group Database"),
                                            Fatal(u"while trying to commit changes to the Group Database"),
                                            Fatal(u"while trying to open the new Group Database")};
  return kTexts;
}

const MapReplacementTexts& MapDataReplacement() {
  static const MapReplacementTexts kTexts{Fatal(u"while trying to delete the old map data"),
                                          Fatal(u"while trying to write the new map data"),
                                          Fatal(u"while trying to commit changes to the map"),
                                          Fatal(u"while trying to rename the map storage")};
  return kTexts;
}

}  // namespace velmar
