// Plug-ins written in Python: tools and data factories in the modules of the
// "Tools" folder ($KIVARA_TOOLS, else the machine registry's "InstallDir" +
// "/Tools"), found once per process on first use. A host lists them and
// switches them on in the root's add-in list (KivAddPluginToRoot, or the
// add-in manager, whose rows list them): a tool becomes a node under the
// root, its state kept in the settings file; a data factory joins every
// data selection, one instance each, reading the selection's channels. A
// host may also make a tool or a data factory on its own.
//
// The interpreter starts on the first call, on the client thread. Client
// thread only.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "velmar/data_factory.h"
#include "velmar/object_node.h"
#include "velmar/unknown.h"

namespace velmar {

inline constexpr uint32_t kKivPluginTool = 0;
inline constexpr uint32_t kKivPluginChannelFactory = 1;
inline constexpr uint32_t kKivPluginEventsFactory = 2;
inline constexpr uint32_t kKivPluginOther = 3;  // marked, but neither a tool nor a data factory

struct KivPluginType {
  std::u16string name;       // display name
  std::u16string type_name;  // what the settings file and the add-in list keep
  uint32_t kind = kKivPluginOther;
};

// Every plug-in type found, in the order found (module files in byte order
// of their names, classes in the order a module defines them).
KivResult KivFindPluginTypes(std::vector<KivPluginType>* types);

// Looks at the folder again on the next use (after `KIVARA_TOOLS` changed).
void KivRescanPlugins();

// A new tool as a node of the host's tree; `root` is the IKivVelmar the
// plug-in sees, or null. E_INVALIDARG for an unknown type name, E_FAIL when
// the plug-in can't be made. A command of the node whose plug-in raises
// gives E_FAIL.
KivResult KivCreatePluginTool(const std::u16string& type_name, IKivUnknown* root, IKivObjectNode** node);

// A new channel data factory of that type. A channel whose plug-in raises is
// "not available" (status 2).
KivResult KivCreatePluginChannelFactory(const std::u16string& type_name, IKivUnknown* root,
                                        IKivChannelFactory** factory);

// A new events data factory of that type. An event set whose plug-in raises
// is "not available" (status 2); each event's Information lines follow its
// message, its Data values are its payload (8-byte doubles).
KivResult KivCreatePluginEventsFactory(const std::u16string& type_name, IKivUnknown* root,
                                       IKivEventsFactory** factory);

// Switches a plug-in type on at the end of the add-in list of every root
// (`root` is one of them); S_FALSE when it already is, E_INVALIDARG for an
// unknown type name or a root that isn't this library's, E_FAIL when it
// can't be made (it then stays listed without an object).
KivResult KivAddPluginToRoot(IKivUnknown* root, const std::u16string& type_name);
// Switches it off again; S_FALSE when it wasn't on.
KivResult KivRemovePluginFromRoot(IKivUnknown* root, const std::u16string& type_name);

// Points a plug-in data factory at a selection of the root's tasks (both
// from 1); S_FALSE when either is out of range, which changes nothing.
KivResult KivSetPluginDataSelection(IKivChannelFactory* factory, int32_t task, int32_t selection);

}  // namespace velmar
