// Plug-ins written in Python: tools and data factories in the modules of the
// "Tools" folder ($KIVARA_TOOLS, else the machine registry's "InstallDir" +
// "/Tools"), found once per process on first use. A host lists them, makes a
// tool (a node of its tree, with commands) or a data factory (channels it
// hands to a data selection as a source, velmar/selection_sources.h).
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

// Points a plug-in data factory at a selection of the root's tasks (both
// from 1); S_FALSE when either is out of range, which changes nothing.
KivResult KivSetPluginDataSelection(IKivChannelFactory* factory, int32_t task, int32_t selection);

}  // namespace velmar
