// How the root's add-in list makes its managed (plug-in) entries. The core
// knows no plug-in runtime: the plug-in layer installs a bridge when it is
// linked in, and without one a managed entry can't be made, like a native
// class that isn't registered.
//
// Client thread only.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "core/data_factory_record.h"
#include "velmar/addin_manager.h"

namespace velmar {

struct IKivVelmar;

// Told by a running plug-in tool that its state changed.
class ManagedToolStateListener {
 public:
  virtual void OnManagedToolChanged(const std::u16string& typeName) = 0;

 protected:
  ~ManagedToolStateListener() = default;
};

class ManagedFactoryBridge {
 public:
  // What Create gives beside the objects.
  struct Made {
    bool persists = false;       // the tool saves a state
    bool stateRejected = false;  // the saved state given didn't load: the tool started fresh
  };

  // Fills `entry` (record already set) with the running objects of the
  // plug-in type: a tool's node, or a data factory that makes one instance
  // per selection. `state` is the tool's saved state, if the settings file
  // has one. False when the type can't be made.
  virtual bool Create(const std::u16string& typeName, IKivVelmar* root, const std::vector<uint8_t>* state,
                      ManagedToolStateListener* listener, ActiveDataFactory* entry, Made* made) = 0;
  // The plug-in types found, as add-in manager rows (kind 1), in the order
  // found.
  virtual std::vector<KivAddInRow> Available() = 0;
  // The state of a running tool; false when it has none to write.
  virtual bool Save(IKivUnknown* factory, std::vector<uint8_t>* bytes) = 0;
  // Whether a running entry is a tool (it has a tool wrapper).
  virtual bool IsTool(IKivUnknown* factory) = 0;
  virtual bool Persists(IKivUnknown* factory) = 0;
  // Gives a running tool the root's colours (a tool without an appearance
  // ignores them).
  virtual void SetColours(IKivUnknown* factory, uint32_t back, uint32_t fore, uint32_t grid) = 0;
  // Gives a running tool the root's font (a host's IKivFontDescription;
  // another object, or a tool without an appearance, is passed over).
  virtual void SetFont(IKivUnknown* factory, IKivUnknown* font) = 0;
  // The review after load of the process's first root: the type names of
  // its entries found consistent, in stored order, for the host.
  virtual void ReviewTools(const std::vector<std::u16string>& typeNames) = 0;
  // The running entry goes: it no longer tells its listener.
  virtual void Detach(IKivUnknown* factory) = 0;

 protected:
  ~ManagedFactoryBridge() = default;
};

// The process's bridge; null while no plug-in layer is linked in.
ManagedFactoryBridge* CurrentManagedFactoryBridge();
void SetManagedFactoryBridge(ManagedFactoryBridge* bridge);

}  // namespace velmar
