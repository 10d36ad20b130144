// The root's owned objects as the root sees them: their class identities,
// the internal faces through which the root wires them, and the callbacks
// through which they reach the root.
//
// The objects live in config/ and tasks/, which build on this folder; the
// root makes them by class identity through the process class registry, so
// the session core needs nothing of theirs but these declarations. Each
// folder registers its classes (RegisterConfigClasses, RegisterTasksClasses).
//
// A callback pointer is not counted: the root gives it right after making
// the object and clears it (null) before letting the object go. Client
// thread only.
#pragma once

#include <memory>
#include <string>

#include "core/data_factory_record.h"
#include "velmar/guid.h"
#include "velmar/types.h"
#include "velmar/unknown.h"

namespace velmar {

struct IKivVelmar;
class CCommonChannelsStore;
class CGlobalConstantsCache;

// Class identities. The task list and the constant factory carry the class
// identities of their storages in the settings file.
inline constexpr Guid CLSID_KivTasks = Guid::Literal("{220CFBCF-DD19-4DF9-9817-4CC0D0DCFEC9}");
inline constexpr Guid CLSID_KivGlobalConstantFactory = Guid::Literal("{0131745F-9110-4F89-BF9E-7F4807B9A2F2}");
inline constexpr Guid CLSID_KivCommonChannels = Guid::Literal("{5688BBEE-0274-4E5D-9C88-D4FCC83AE197}");
inline constexpr Guid CLSID_KivRealTimeSettings = Guid::Literal("{4502FB51-4C3A-4201-8B59-70263AE6AA13}");
inline constexpr Guid CLSID_KivPriorities = Guid::Literal("{383DA5B1-E2ED-4525-B3E8-88CD139CFF34}");
inline constexpr Guid CLSID_KivQuantityToColorMapping = Guid::Literal("{1CAF9DF8-09C2-4431-B525-AB29D82D9C1B}");
inline constexpr Guid CLSID_KivFavorites = Guid::Literal("{33E7711C-D213-4522-A151-78E2F5DB8062}");
inline constexpr Guid CLSID_KivColourTable = Guid::Literal("{2D10F9FE-232F-4593-A5EA-DD73458D2CED}");
// The host-side tool node, made only when branding reports feature 1.
inline constexpr Guid CLSID_KivHostToolNode = Guid::Literal("{2CBE3FA8-A157-4AE0-9C04-6BEA2F6142A9}");

// Called by an owned object after an edit. The root rewrites the object's
// stream in the settings file, marks it dirty and raises the object's
// notification; a failure gives E_FAIL and raises nothing (the edit stays in
// memory).
class CPrioritiesParentCallback {
 public:
  [[nodiscard]] virtual KivResult OnPrioritiesEdited() = 0;

 protected:
  ~CPrioritiesParentCallback() = default;
};

class CFavoritesParentCallback {
 public:
  [[nodiscard]] virtual KivResult OnFavoritesEdited() = 0;

 protected:
  ~CFavoritesParentCallback() = default;
};

class CColourTableParentCallback {
 public:
  [[nodiscard]] virtual KivResult OnColourTableEdited() = 0;

 protected:
  ~CColourTableParentCallback() = default;
};

// The mapping persists itself; the root only marks the file dirty.
class CQuantityToColorMappingParentCallback {
 public:
  virtual void OnQuantityToColorMappingEdited() = 0;

 protected:
  ~CQuantityToColorMappingParentCallback() = default;
};

// Called after a change of a stream field of the real-time settings: the
// root rewrites "RealTime Settings", marks dirty, raises RealTimeSettingsChanged.
class CRealTimeSettingsChanges {
 public:
  virtual void OnRealTimeSettingsChanged() = 0;

 protected:
  ~CRealTimeSettingsChanges() = default;
};

struct IKivPrioritiesInternal : IKivUnknown {
  static constexpr Guid iid = Guid::Literal("{44E58C39-8C44-4318-960A-75223396FD3A}");
  virtual KivResult SetParentCallback(CPrioritiesParentCallback* parent) = 0;
};

struct IKivFavoritesInternal : IKivUnknown {
  static constexpr Guid iid = Guid::Literal("{D1CE6E39-55A2-4CB6-90E9-05E84C08375E}");
  virtual KivResult SetParentCallback(CFavoritesParentCallback* parent) = 0;
};

struct IKivColourTableInternal : IKivUnknown {
  static constexpr Guid iid = Guid::Literal("{A66EC678-F13F-40C6-B9BE-A1295A8C690A}");
  virtual KivResult SetParentCallback(CColourTableParentCallback* parent) = 0;
};

struct IKivQuantityToColorMappingInternal : IKivUnknown {
  static constexpr Guid iid = Guid::Literal("{11CAE56D-346C-48D9-984B-914C7FB7101C}");
  virtual KivResult SetParentCallback(CQuantityToColorMappingParentCallback* parent) = 0;
  // The root is closing: tell every listener of the mapping.
  virtual KivResult NotifyClosing() = 0;
};

struct IKivRealTimeSettingsInternal : IKivUnknown {
  static constexpr Guid iid = Guid::Literal("{16EAFB51-FE90-4989-8D3F-D8F6EB2C7158}");
  virtual KivResult SetChangeCallback(CRealTimeSettingsChanges* changes) = 0;
};

struct IKivCommonChannelsInternal : IKivUnknown {
  static constexpr Guid iid = Guid::Literal("{C5BA87B2-502B-4457-A31C-9545F42884DF}");
  // The process-wide store this face shows; null lets go of it.
  virtual KivResult AttachStore(std::shared_ptr<CCommonChannelsStore> store) = 0;
};

struct IKivGlobalConstantFactoryInternal : IKivUnknown {
  static constexpr Guid iid = Guid::Literal("{F98CE73F-79D1-4F63-A3C3-DF81A43400F7}");
  // The root it belongs to, not counted; null clears it.
  virtual KivResult SetRootBackReference(IKivVelmar* root) = 0;
  // The process-wide cache it serves; null lets go of it.
  virtual KivResult AttachCache(std::shared_ptr<CGlobalConstantsCache> cache) = 0;
  // Reads every spreadsheet-based constant again. S_FALSE when none had a
  // value to read again.
  virtual KivResult ReloadSpreadsheetConstants() = 0;
};

struct IKivTasksInternal : IKivUnknown {
  static constexpr Guid iid = Guid::Literal("{85E3E146-B98F-4104-B57E-B39356325A75}");
  // The root that owns the list, not counted; null clears it.
  virtual KivResult SetRoot(IKivVelmar* root) = 0;
  // Closes every task in list order and empties the list.
  virtual KivResult CloseAll() = 0;
  // The data factories now active; the list keeps it and passes it to every task.
  virtual KivResult SetDataFactoryList(const ActiveDataFactories& factories) = 0;
  // Whether a data selection of some task shows a channel or event of that name.
  virtual KivResult FindChannelName(const std::u16string& name, KivBool* found) = 0;
  virtual KivResult FindEventName(const std::u16string& name, KivBool* found) = 0;
};

}  // namespace velmar
