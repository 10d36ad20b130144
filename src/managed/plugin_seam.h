// The seam between the library and a plug-in runtime: what a runtime must
// offer for tools and data factories written in it to join the library.
// The library's own logic (finding plug-ins, command ids, the node tree,
// persistence rules, block clipping) sits above this seam and never sees the
// runtime; a backend (the embedded CPython one, or an in-process fake in
// tests) sits below it and only forwards each operation to the plug-in.
//
// A backend reports a plug-in's failure by throwing PluginError; the layer
// above turns it into E_FAIL or "not available" and goes on.
//
// Client thread only.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "velmar/types.h"
#include "velmar/unknown.h"

namespace velmar {
struct IKivChannelFactory;
}

namespace velmar::managed {

// A plug-in raised, or its module could not be read.
class PluginError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// The plug-in waits for data the library is still fetching: ask again once
// the client thread has run. `input`, when known, is the library's item it
// waits for (an IKivData): its change is the time to ask again.
class PluginPending : public PluginError {
 public:
  using PluginError::PluginError;
  PluginPending(const std::string& what, ComPtr<IKivUnknown> waitingFor)
      : PluginError(what), input(std::move(waitingFor)) {}
  ComPtr<IKivUnknown> input;
};

// A picture a plug-in drew, at its own size: 32-bit pixels 0xAARRGGBB, row
// by row.
struct PluginPicture {
  uint32_t width = 0;
  uint32_t height = 0;
  std::vector<uint32_t> argb;
};
using SharedPluginPicture = std::shared_ptr<const PluginPicture>;

// One class of a module, as the module declares it.
struct PluginTypeInfo {
  std::u16string typeName;
  std::u16string displayName;  // the tool attribute's name
  uint32_t toolAttributes = 0;  // how many tool attributes the class carries
};

// One loaded module.
struct PluginModuleInfo {
  bool containsTools = false;  // the module marker
  std::vector<PluginTypeInfo> types;
};

// A command as the plug-in offers it; `execute` runs it.
struct PluginCommand {
  std::u16string name;
  std::optional<std::u16string> description;
  bool enabled = true;
  bool checked = false;
  SharedPluginPicture icon;  // null without one
  std::function<void()> execute;
};

struct PluginSubCommands;
struct PluginCommandGroup {
  std::vector<PluginCommand> commands;
  std::vector<PluginSubCommands> subCommands;
};
struct PluginSubCommands {
  std::u16string name;
  std::vector<PluginCommandGroup> groups;
};

// What the plug-in side raises; the layer above listens.
class PluginToolListener {
 public:
  // A property of the tool itself changed.
  virtual void OnToolChanged() = 0;
  // A group, sub-command list or command changed: the ids are rebuilt.
  virtual void OnCommandsChanged() = 0;

 protected:
  ~PluginToolListener() = default;
};

struct PluginFont {
  std::u16string name;
  int64_t size = 0;  // in 1/10000 of a point
  bool bold = false;
  bool italic = false;
};

// One live tool object of the plug-in.
class PluginTool {
 public:
  virtual ~PluginTool() = default;
  virtual std::vector<PluginCommandGroup> Commands() = 0;
  // Saves the state; false when the plug-in wrote nothing.
  virtual bool Save(std::vector<uint8_t>* bytes) = 0;
  virtual bool RequiresParentWindow() const = 0;
  virtual void SetParentWindowHandle(int32_t window) = 0;
  virtual bool HasAppearance() const = 0;
  virtual void SetBackColor(uint32_t colour) = 0;
  virtual void SetForeColor(uint32_t colour) = 0;
  virtual void SetGridColor(uint32_t colour) = 0;
  virtual void SetFont(const PluginFont& font) = 0;
  // The end: the root goes (null), the tool is disposed.
  virtual void Dispose() = 0;
};

// One time block of a plug-in channel.
struct PluginBlockInfo {
  bool periodic = false;
  bool join = false;
  KivTime start = 0;
  KivTime end = 0;
  KivTime interval = 0;  // periodic
  int64_t count = 0;
};

// What a plug-in channel or event set tells the library about itself.
class PluginDataListener {
 public:
  // Its state changed (e.g. the data it waited for came): read it again.
  virtual void OnStateChanged() = 0;
  // Its data changed over [from, to].
  virtual void OnDataChanged(KivTime from, KivTime to) = 0;
  // It became available or stopped being so.
  virtual void OnAvailabilityChanged() = 0;
  // It goes away.
  virtual void OnTerminating() = 0;

 protected:
  ~PluginDataListener() = default;
};

// What a plug-in channel and event set share: the listener they report to
// (null: they report no more, and a late report raises in the plug-in).
class PluginDataItem {
 public:
  virtual ~PluginDataItem() = default;
  virtual void Listen(PluginDataListener* listener) = 0;
};

// A channel of a plug-in data factory.
class PluginChannel : public PluginDataItem {
 public:
  // False for a channel without data.
  virtual bool HasData() = 0;
  virtual int64_t BlockCount() = 0;
  virtual PluginBlockInfo Block(int64_t index) = 0;
  // -1 for none.
  virtual int64_t IndexOfNearestBlock(KivTime time, bool first) = 0;
  // Aperiodic blocks: the first index after / last before `time` (-1 none),
  // and the times of [first, first + count).
  virtual int64_t IndexOfNextTime(int64_t block, KivTime time) = 0;
  virtual int64_t IndexOfPreviousTime(int64_t block, KivTime time) = 0;
  virtual void CopyTimes(int64_t block, int64_t first, int64_t count, KivTime* out) = 0;
  // The values of samples [first, first + count) of a block, shared without
  // a copy when the plug-in holds them as an array (`owner` keeps them); a
  // null `data` when it doesn't (then Values). The plug-in must not change
  // an array it has handed out.
  struct SharedValues {
    const double* data = nullptr;
    std::shared_ptr<const void> owner;
  };
  virtual SharedValues BlockValues(int64_t block, int64_t first, int64_t count) = 0;
  // Values at the given times, one call for the whole array.
  virtual void Values(const KivTime* times, int64_t count, double* out) = 0;
  // Values from `start` every `interval`, one call for the whole array.
  virtual void ValuesAtPeriod(KivTime start, KivTime interval, int64_t count, double* out) = 0;
};

struct PluginEvent {
  KivTime time = 0;
  int32_t category = 0;
  std::u16string source;
  std::u16string message;
  std::vector<std::u16string> information;
  std::vector<double> data;
};

class PluginEventSet : public PluginDataItem {
 public:
  virtual int64_t Count() = 0;
  virtual PluginEvent Event(int64_t index) = 0;
};

enum class PluginFactoryKind { kChannels, kEvents };

class PluginDataFactoryListener {
 public:
  virtual void OnNamesAdded(const std::vector<std::u16string>& names) = 0;
  virtual void OnNamesRemoved(const std::vector<std::u16string>& names) = 0;

 protected:
  ~PluginDataFactoryListener() = default;
};

class PluginDataFactory {
 public:
  virtual ~PluginDataFactory() = default;
  virtual PluginFactoryKind Kind() const = 0;
  // The keys, as their text (a quantified name's text for channels).
  virtual std::vector<std::u16string> Keys() = 0;
  virtual bool Contains(const std::u16string& name) = 0;
  // The counts of the managed root's tasks and of one task's selections.
  virtual int32_t TaskCount() = 0;
  virtual int32_t SelectionCount(int32_t task) = 0;
  virtual void SetDataSelection(int32_t task, int32_t selection) = 0;
  // Points the factory at one selection whose data it reads through
  // `inputs` only (the selection's channels ahead of this factory).
  virtual void SetSelectionInputs(IKivUnknown* selection, IKivChannelFactory* inputs) = 0;
  virtual std::unique_ptr<PluginChannel> Channel(const std::u16string& name) = 0;
  virtual std::unique_ptr<PluginEventSet> EventSet(const std::u16string& name) = 0;
  // The icon of a key, at the plug-in's size; null for none.
  virtual SharedPluginPicture Icon(const std::u16string& name) = 0;
  virtual void Dispose() = 0;
};

// What a tool or data factory is made against.
class PluginBackend {
 public:
  virtual ~PluginBackend() = default;
  // Loads one module file; throws PluginError when it can't.
  virtual PluginModuleInfo LoadModule(const std::string& path) = 0;
  // Whether the type can be made at all, and whether it persists.
  virtual bool IsDisposable(const std::u16string& typeName) = 0;
  virtual bool SupportsPersistence(const std::u16string& typeName) = 0;
  virtual bool IsTool(const std::u16string& typeName) = 0;
  virtual bool IsDataFactory(const std::u16string& typeName) = 0;
  // A data factory offering event sets rather than channels.
  virtual bool IsEventsFactory(const std::u16string& typeName) = 0;
  // A new tool, from `state` when given. Null when the state doesn't load
  // or the type isn't there.
  // `root` is the library's root the plug-in sees (its managed view), or
  // null.
  virtual std::unique_ptr<PluginTool> CreateTool(const std::u16string& typeName,
                                                 const std::vector<uint8_t>* state,
                                                 PluginToolListener* listener, IKivUnknown* root) = 0;
  virtual std::unique_ptr<PluginDataFactory> CreateDataFactory(const std::u16string& typeName,
                                                               PluginDataFactoryListener* listener,
                                                               IKivUnknown* root) = 0;
};

}  // namespace velmar::managed
