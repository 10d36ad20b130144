// CGlobalConstantFactory: a root's constant factory over the process-wide
// global constants cache. Its clients hear of names that came and went
// through IKivDataFactoryNotifications, whichever root's factory made the
// change.
//
// The constant objects, adding and removing constants (each written at once
// to the settings file) and the spreadsheet retrieval come with the
// constants themselves: GetItem of a known name gives E_NOTIMPL until then.
//
// Client thread only.
#pragma once

#include <memory>

#include "core/global_constants_cache.h"
#include "core/notifications_impl.h"
#include "core/velmar_parts.h"
#include "velmar/data_factory.h"
#include "velmar/outing_notifications.h"

namespace velmar {

class CGlobalConstantFactory final
    : public KivObject<IKivConstantFactory, IKivGlobalConstantFactoryInternal,
                       IKivNotificationsImpl<CGlobalConstantFactory, IKivDataFactoryNotifications>>,
      private CGlobalConstantsCache::Listener {
 public:
  ~CGlobalConstantFactory() override;

  KivResult GetNames(NameList* names) override;
  KivResult GetParent(IKivUnknown** parent) override;
  KivResult SetParent(IKivUnknown* parent) override;
  KivResult GetRoot(IKivUnknown** root) override;
  KivResult SetRoot(IKivUnknown* root) override;
  KivResult GetIcon(int32_t index, int32_t size, IKivUnknown** picture) override;
  KivResult GetItem(const std::u16string& name, IKivConstant** constant) override;

  KivResult SetRootBackReference(IKivVelmar* root) override;
  KivResult AttachCache(std::shared_ptr<CGlobalConstantsCache> cache) override;
  KivResult ReloadSpreadsheetConstants() override;

  const std::shared_ptr<CGlobalConstantsCache>& Cache() const { return cache_; }

 private:
  void OnConstantsAdded(const NameList& names) override;
  void OnConstantsRemoved(const NameList& names) override;
  IKivDataFactory* Self() { return static_cast<IKivConstantFactory*>(this); }

  std::shared_ptr<CGlobalConstantsCache> cache_;
  IKivVelmar* rootBackReference_ = nullptr;  // the owning root, not counted
  ComPtr<IKivUnknown> root_;                 // given once through SetRoot
  ComPtr<IKivUnknown> parent_;
};

}  // namespace velmar
