// Plug-in types as entries of the root's add-in list. A tool entry is a
// CDotNetTool node under the root; a data factory entry is a maker that
// gives every selection an instance of its own, reading the selection's
// data through the inputs the selection hands it.
//
// Client thread only.
#pragma once

#include <map>
#include <string>

#include "core/managed_factory_bridge.h"
#include "managed/dotnet_tool.h"
#include "managed/tool_type_library.h"
#include "velmar/plugin_review.h"
#include "velmar/selection_data_factory.h"

namespace velmar::managed {

// The root's instance of a plug-in data factory.
class CDotNetDataFactoryMaker final : public KivObject<IKivSelectionDataFactoryMaker> {
 public:
  CDotNetDataFactoryMaker(DotNetToolTypeLibrary& library, std::u16string typeName, IKivUnknown* root)
      : library_(library), typeName_(std::move(typeName)), root_(root) {}

  KivResult CreateForSelection(IKivUnknown* selection, IKivChannelFactory* channels, IKivEventsFactory* events,
                               IKivUnknown** factory) override;

 private:
  DotNetToolTypeLibrary& library_;
  std::u16string typeName_;
  IKivUnknown* root_;  // the root holds this maker, not the other way round
};

class RootAddInBridge final : public ManagedFactoryBridge {
 public:
  // Makes this the process's bridge (once).
  static void Install();

  bool Create(const std::u16string& typeName, IKivVelmar* root, const std::vector<uint8_t>* state,
              ManagedToolStateListener* listener, ActiveDataFactory* entry, Made* made) override;
  std::vector<KivAddInRow> Available() override;
  bool Save(IKivUnknown* factory, std::vector<uint8_t>* bytes) override;
  bool IsTool(IKivUnknown* factory) override { return ToolOf(factory) != nullptr; }
  bool Persists(IKivUnknown* factory) override;
  void SetColours(IKivUnknown* factory, uint32_t back, uint32_t fore, uint32_t grid) override;
  void SetFont(IKivUnknown* factory, IKivUnknown* font) override;
  void ReviewTools(const std::vector<std::u16string>& typeNames) override;
  // What ReviewTools hands the names to (KivSetReviewToolsDelegate).
  void SetReviewDelegate(KivReviewToolsDelegate delegate) { review_ = std::move(delegate); }
  static RootAddInBridge& Process();
  void Detach(IKivUnknown* factory) override;

 private:
  // Carries a tool's changes to the root's listener.
  class Relay final : public CDotNetToolParentDirtyCallback {
   public:
    explicit Relay(ManagedToolStateListener* listener) : listener_(listener) {}
    void OnToolDirty(const std::u16string& typeName) override {
      if (listener_) listener_->OnManagedToolChanged(typeName);
    }

   private:
    ManagedToolStateListener* listener_;
  };

  CDotNetTool* ToolOf(IKivUnknown* factory) const;
  bool CreateTool(const std::u16string& typeName, IKivVelmar* root, const std::vector<uint8_t>* state,
                  ManagedToolStateListener* listener, ActiveDataFactory* entry, Made* made);

  std::map<CDotNetTool*, std::unique_ptr<Relay>> tools_;
  KivReviewToolsDelegate review_;
};

}  // namespace velmar::managed
