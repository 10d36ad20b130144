// The root object: the first object a host creates. It stands for one open
// settings file and hands out the shared configuration, the task list and
// the databases; it keeps the list of data factories that extend the system.
//
// Generation n of IKivVelmar adds the operations under it and keeps all that
// came before. Every getter of a reference hands out a counted reference; a
// null out argument gives E_POINTER. Client thread only.
#pragma once

#include <cstdint>
#include <string>

#include "velmar/guid.h"
#include "velmar/types.h"
#include "velmar/unknown.h"

namespace velmar {

struct IKivChannelPropertyFactory;
struct IKivEventPropertyFactory;
struct IKivGroupFactory;
struct IKivCircuitMapData;
struct IKivCommonChannels;
struct IKivConstantFactory;
struct IKivRealTimeSettings;
struct IKivTasks;
struct IKivPriorities;
struct IKivFavorites;
struct IKivColourTable;
struct IKivQuantityToColorMapping;

inline constexpr Guid CLSID_KivVelmar = Guid::Literal("{60C1F36B-48BF-4D6C-B340-D445116F4B1F}");
inline constexpr char16_t kVelmarProgId[] = u"KivVelmar.Velmar.1";

// Data factories that join a root must be in this component category.
inline constexpr Guid CATID_KivDataFactory = Guid::Literal("{12E515E8-32AF-4E4C-BB50-CB99B3224DF0}");

struct IKivVelmar : IKivUnknown {
  static constexpr Guid iid = Guid::Literal("{D108909F-77BD-4E8E-8B60-D71A2023CBB6}");
  // E_UNEXPECTED when none is held (after Close).
  virtual KivResult GetChannelPropertyFactory(IKivChannelPropertyFactory** factory) = 0;
  // Replaces the database in the settings file: E_INVALIDARG for null,
  // E_FAIL with no settings file.
  virtual KivResult SetChannelPropertyFactory(IKivChannelPropertyFactory* factory) = 0;
  // S_FALSE and null when no map is set.
  virtual KivResult GetCircuitMapData(IKivCircuitMapData** map) = 0;
  // Null clears the map; S_FALSE when that map is already held. Sinks hear
  // CircuitMapDataChanged, and the finders follow the new map.
  virtual KivResult SetCircuitMapData(IKivCircuitMapData* map) = 0;
  virtual KivResult GetCommonChannels(IKivCommonChannels** channels) = 0;
  virtual KivResult GetGlobalConstantFactory(IKivConstantFactory** factory) = 0;
  virtual KivResult GetGroupFactory(IKivGroupFactory** factory) = 0;
  virtual KivResult SetGroupFactory(IKivGroupFactory* factory) = 0;
  virtual KivResult GetRealTimeSettings(IKivRealTimeSettings** settings) = 0;
  virtual KivResult GetTasks(IKivTasks** tasks) = 0;
  // E_INVALIDARG for a class outside CATID_KivDataFactory, a mandatory
  // factory or one the branding module excludes; S_FALSE when already active.
  virtual KivResult AddDataFactory(const Guid& clsid) = 0;
  // E_INVALIDARG for a mandatory factory; S_FALSE when not active.
  virtual KivResult RemoveDataFactory(const Guid& clsid) = 0;
  // As the two above, by program id; E_INVALIDARG for an unknown id.
  virtual KivResult AddDataFactoryByProgId(const std::u16string& progId) = 0;
  virtual KivResult RemoveDataFactoryByProgId(const std::u16string& progId) = 0;
  // Reads external data again (spreadsheet constants, factories that offer
  // IKivDataFactoryReload). Always S_OK.
  virtual KivResult ReloadExternalData() = 0;
  // Raises Closing, closes the tasks and lets go of every owned object.
  // S_FALSE when already closed.
  virtual KivResult Close() = 0;
};

struct IKivVelmar2 : IKivVelmar {
  static constexpr Guid iid = Guid::Literal("{77C289DF-FAEA-4F3F-84C1-C05CDD72BE69}");
  using Parent = IKivVelmar;
  // Start value "%default%".
  virtual KivResult GetOutingCaptionFormat(std::u16string* format) = 0;
  // E_FAIL with no settings file; E_INVALIDARG for an empty text; S_FALSE
  // when unchanged.
  virtual KivResult SetOutingCaptionFormat(const std::u16string& format) = 0;
  virtual KivResult GetTimeFormat(uint32_t* format) = 0;
  // 0 to 2, else E_INVALIDARG.
  virtual KivResult SetTimeFormat(uint32_t format) = 0;
};

struct IKivVelmar3 : IKivVelmar2 {
  static constexpr Guid iid = Guid::Literal("{12BEDCD1-970B-4CA2-808D-24466C45306C}");
  using Parent = IKivVelmar2;
  virtual KivResult GetPriorities(IKivPriorities** priorities) = 0;
  // E_FAIL with no settings file; unchanged: S_OK and nothing else.
  virtual KivResult SetSpareSettingA(uint32_t value) = 0;
  // Start value 1.
  virtual KivResult GetSpareSettingA(uint32_t* value) = 0;
  virtual KivResult SetSpareSettingB(uint32_t value) = 0;
  // Start value 6.
  virtual KivResult GetSpareSettingB(uint32_t* value) = 0;
  virtual KivResult GetEventPropertyFactory(IKivEventPropertyFactory** factory) = 0;
  virtual KivResult SetEventPropertyFactory(IKivEventPropertyFactory* factory) = 0;
  virtual KivResult GetTimePrecision(uint16_t* precision) = 0;
  // Below 0: E_INVALIDARG.
  virtual KivResult SetTimePrecision(int16_t precision) = 0;
};

struct IKivVelmar4 : IKivVelmar3 {
  static constexpr Guid iid = Guid::Literal("{C2BC1DCF-B6A8-4209-8F07-194444524EF1}");
  using Parent = IKivVelmar3;
  virtual KivResult GetPerformanceFormat(uint32_t* format) = 0;
  // 0 or 1, else E_INVALIDARG.
  virtual KivResult SetPerformanceFormat(uint32_t format) = 0;
  virtual KivResult GetSpeedUnit(uint32_t* unit) = 0;
  // 0 to 3, else E_INVALIDARG.
  virtual KivResult SetSpeedUnit(uint32_t unit) = 0;
  virtual KivResult GetSpeedPrecision(uint16_t* precision) = 0;
  // Below 0: E_INVALIDARG.
  virtual KivResult SetSpeedPrecision(int16_t precision) = 0;
};

struct IKivVelmar5 : IKivVelmar4 {
  static constexpr Guid iid = Guid::Literal("{36B543F8-1C4C-482D-9E81-96EFFC5B904E}");
  using Parent = IKivVelmar4;
  virtual KivResult GetFavorites(IKivFavorites** favorites) = 0;
};

struct IKivVelmar6 : IKivVelmar5 {
  static constexpr Guid iid = Guid::Literal("{79614F3B-26EB-4A38-B55B-144FE0035AD0}");
  using Parent = IKivVelmar5;
  virtual KivResult GetColourTable(IKivColourTable** table) = 0;
};

struct IKivVelmar7 : IKivVelmar6 {
  static constexpr Guid iid = Guid::Literal("{D74827CB-D159-4A0A-A545-E7BC92C7B398}");
  using Parent = IKivVelmar6;
  virtual KivResult GetDisplayOutingLabels(KivBool* display) = 0;
  // E_FAIL when the registry write fails; the value is then not changed.
  virtual KivResult SetDisplayOutingLabels(KivBool display) = 0;
  virtual KivResult GetOutingLabelInitialization(uint32_t* initialization) = 0;
  // 0 to 2, else E_INVALIDARG; E_FAIL when the registry write fails.
  virtual KivResult SetOutingLabelInitialization(uint32_t initialization) = 0;
};

struct IKivVelmar8 : IKivVelmar7 {
  static constexpr Guid iid = Guid::Literal("{53A1C1F3-E11B-4581-B09F-9FA3BCD4A918}");
  using Parent = IKivVelmar7;
  // E_FAIL when none is held.
  virtual KivResult GetQuantityToColorMapping(IKivQuantityToColorMapping** mapping) = 0;
};

// The four late-binding slots a control face starts with. They carry no
// logic of this library: a host binds to the typed operations.
struct IKivDispatch : IKivUnknown {
  static constexpr Guid iid = Guid::Literal("{5AD0ECAE-3816-4393-8B15-71281EBB83AC}");
  virtual KivResult GetTypeInfoCount(uint32_t* count) = 0;
  virtual KivResult GetTypeInfo(uint32_t index, IKivUnknown** info) = 0;
  virtual KivResult GetIDsOfNames(const std::u16string& name, int32_t* id) = 0;
  virtual KivResult Invoke(int32_t id, uint16_t flags) = 0;
};

// The root's control face. Colours are 0x00BBGGRR; the font is an opaque
// counted object. A setter stores the value, passes it to every managed tool
// among the data factories, repaints and marks the settings file dirty.
struct IKivVelmarControl : IKivDispatch {
  static constexpr Guid iid = Guid::Literal("{BFBA7BC7-F304-41B7-A168-028D0F97A8C2}");
  using Parent = IKivDispatch;
  virtual KivResult PutRefFont(IKivUnknown* font) = 0;
  virtual KivResult PutFont(IKivUnknown* font) = 0;
  // S_FALSE and null when no font is set.
  virtual KivResult GetFont(IKivUnknown** font) = 0;
  virtual KivResult SetBackColor(uint32_t colour) = 0;
  virtual KivResult GetBackColor(uint32_t* colour) = 0;
  virtual KivResult SetForeColor(uint32_t colour) = 0;
  virtual KivResult GetForeColor(uint32_t* colour) = 0;
};

struct IKivVelmarControl2 : IKivVelmarControl {
  static constexpr Guid iid = Guid::Literal("{39227317-BF89-479A-B832-4902F6A7D1B1}");
  using Parent = IKivVelmarControl;
  // Unchanged: does nothing at all.
  virtual KivResult SetGridColor(uint32_t colour) = 0;
  virtual KivResult GetGridColor(uint32_t* colour) = 0;
};

// Offered, by choice, by a data factory that reads outside data it can read
// again; the root calls it from ReloadExternalData.
struct IKivDataFactoryReload : IKivUnknown {
  static constexpr Guid iid = Guid::Literal("{BB8338DA-DFCD-4302-9ED7-116CAF0A2AEB}");
  virtual KivResult Reload() = 0;
};

// Offered, by choice, by a native data factory that wants the root it works
// for; the root gives itself right after creating the factory.
struct IKivDataFactoryRootSite : IKivUnknown {
  static constexpr Guid iid = Guid::Literal("{7CF78113-ACFB-4271-AE29-48D63F1EA31F}");
  virtual KivResult GetDescription(std::u16string* description) = 0;
  // Null: the root is going away.
  virtual KivResult SetRoot(IKivVelmar* root) = 0;
};

}  // namespace velmar
