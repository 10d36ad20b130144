// The layout of the settings file: its top-level names, the class
// identities of its storages, the file version, and the two small streams
// the root reads and writes itself ("Settings" and the data factory list).
//
// Client thread only.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "core/data_factory_record.h"
#include "core/velmar_settings.h"
#include "velmar/guid.h"
#include "velmar/storage.h"

namespace velmar {

inline constexpr uint32_t kSettingsFileVersion = 6;
inline constexpr uint32_t kSettingsStreamVersion = 3;
inline constexpr uint32_t kDataFactoriesVersion = 2;
inline constexpr uint32_t kDataFactoryListVersion = 2;

inline constexpr uint32_t kElementStream = STGM_READWRITE | STGM_SHARE_EXCLUSIVE;
inline constexpr uint32_t kNewElement = kElementStream | STGM_CREATE;

namespace settings_names {
inline constexpr char16_t kVersion[] = u"Version";
inline constexpr char16_t kSettings[] = u"Settings";
inline constexpr char16_t kPriorities[] = u"Priorities";
inline constexpr char16_t kFavorites[] = u"Favorites";
inline constexpr char16_t kColourTable[] = u"ColourTable";
inline constexpr char16_t kTasks[] = u"Tasks";
inline constexpr char16_t kChannelProperties[] = u"Channel Properties";
inline constexpr char16_t kChannelPropertiesTemp[] = u"Channel Properties Temp";
inline constexpr char16_t kEventProperties[] = u"Event Properties";
inline constexpr char16_t kEventPropertiesTemp[] = u"Event Properties Temp";
inline constexpr char16_t kGroups[] = u"Groups";
inline constexpr char16_t kGroupsTemp[] = u"Groups Temp";
inline constexpr char16_t kGlobalConstants[] = u"Global Constants";
inline constexpr char16_t kRealTimeSettings[] = u"RealTime Settings";
inline constexpr char16_t kCommonChannels[] = u"Common Channels";
inline constexpr char16_t kCircuitMap[] = u"Circuit Map";
inline constexpr char16_t kOldMap[] = u"Map";
inline constexpr char16_t kMapStream[] = u"MapStream";
inline constexpr char16_t kDataFactories[] = u"Data Factories";
inline constexpr char16_t kDataFactoryList[] = u"Data Factory List";
}  // namespace settings_names

inline constexpr Guid CLSID_SettingsChannelProperties = Guid::Literal("{52F72594-4F6B-46FF-B022-859F2A3A92CB}");
inline constexpr Guid CLSID_SettingsEventProperties = Guid::Literal("{65CE3304-600E-435C-A7F6-92CD88E7E7FA}");
inline constexpr Guid CLSID_SettingsDataFactories = Guid::Literal("{6CE0B38D-2BA0-4D31-B309-AEACC0138B19}");
inline constexpr Guid CLSID_SettingsNativeFactory = Guid::Literal("{612EA50A-6CA8-43FA-ACEA-11DFA935DF64}");
// The class a version 1 or 2 file's map takes when moved into "Circuit Map".
inline constexpr Guid CLSID_SettingsOldMap = Guid::Literal("{62E78DB2-993A-4E7B-8966-2AEEB38FFCD5}");

// "Settings": STG_E_OLDDLL for a stream version above 3. `old` tells that
// the stream was of an older version and is to be written back at once.
[[nodiscard]] KivResult ReadSettingsStream(IKivStream* stream, CVelmarSettings* out, bool* old);
// Seeks to 0 and writes the current form; the size is left to the caller.
[[nodiscard]] KivResult WriteSettingsStream(IKivStream* stream, const CVelmarSettings& settings);

// One entry of the "Data Factory List" stream.
struct StoredDataFactory {
  DataFactoryRecord record;
  std::u16string storageName;
};

struct DataFactoryListContent {
  uint32_t nextFactoryId = 0;
  std::vector<StoredDataFactory> entries;
};

// E_FAIL for a list version above 2 or a damaged stream; version 1 entries
// are all native.
[[nodiscard]] KivResult ReadDataFactoryList(IKivStream* stream, DataFactoryListContent* out);
[[nodiscard]] KivResult WriteDataFactoryList(IKivStream* stream, const DataFactoryListContent& list);

// A storage's class identity must be `expected`: E_FAIL when not.
[[nodiscard]] KivResult CheckClass(IKivStorage* storage, const Guid& expected);
// Creates a storage (replacing one of that name) and writes its class identity.
[[nodiscard]] KivResult CreateClassStorage(IKivStorage* parent, const char16_t* name, const Guid& clsid,
                                           IKivStorage** out);
// Opens a storage and checks its class identity.
[[nodiscard]] KivResult OpenClassStorage(IKivStorage* parent, const char16_t* name, const Guid& clsid,
                                         IKivStorage** out);

}  // namespace velmar
