#include "config/global_constant_factory.h"

#include "velmar/velmar.h"

namespace velmar {

CGlobalConstantFactory::~CGlobalConstantFactory() {
  if (cache_) cache_->RemoveListener(this);
}

KivResult CGlobalConstantFactory::GetNames(NameList* names) {
  if (!names) return E_POINTER;
  *names = cache_ ? cache_->GetNames() : NameList{};
  return S_OK;
}

KivResult CGlobalConstantFactory::GetParent(IKivUnknown** parent) {
  if (!parent) return E_POINTER;
  *parent = nullptr;
  if (!parent_) return E_UNEXPECTED;
  return parent_.CopyTo(parent);
}

KivResult CGlobalConstantFactory::SetParent(IKivUnknown* parent) {
  if (!parent_ && parent) {
    parent_ = parent;
    return S_OK;
  }
  if (parent_ && !parent) {
    parent_ = nullptr;
    return S_OK;
  }
  return E_INVALIDARG;
}

KivResult CGlobalConstantFactory::GetRoot(IKivUnknown** root) {
  if (!root) return E_POINTER;
  *root = nullptr;
  if (root_) return root_.CopyTo(root);
  if (rootBackReference_) return GiveOut<IKivUnknown>(rootBackReference_, root);
  return E_UNEXPECTED;
}

KivResult CGlobalConstantFactory::SetRoot(IKivUnknown* root) {
  if (root_) return E_UNEXPECTED;
  root_ = root;
  return S_OK;
}

KivResult CGlobalConstantFactory::GetIcon(int32_t, int32_t, IKivUnknown** picture) {
  if (!picture) return E_POINTER;
  *picture = nullptr;
  return E_NOTIMPL;  // pictures are the host's drawing face
}

KivResult CGlobalConstantFactory::GetItem(const std::u16string& name, IKivConstant** constant) {
  if (!constant) return E_POINTER;
  *constant = nullptr;
  if (name.empty() || !cache_ || !cache_->Find(name)) return E_INVALIDARG;
  return E_NOTIMPL;
}

KivResult CGlobalConstantFactory::SetRootBackReference(IKivVelmar* root) {
  rootBackReference_ = root;
  return S_OK;
}

KivResult CGlobalConstantFactory::AttachCache(std::shared_ptr<CGlobalConstantsCache> cache) {
  if (cache_) cache_->RemoveListener(this);
  cache_ = std::move(cache);
  if (cache_) cache_->AddListener(this);
  return S_OK;
}

KivResult CGlobalConstantFactory::ReloadSpreadsheetConstants() {
  // No constant has been fetched from a workbook yet, so none has a value to
  // read again.
  return S_FALSE;
}

void CGlobalConstantFactory::OnConstantsAdded(const NameList& names) {
  ComPtr<CGlobalConstantFactory> self(this);
  (void)FireNotification(&IKivDataFactoryNotifications::OnItemsAdded, Self(), names);
}

void CGlobalConstantFactory::OnConstantsRemoved(const NameList& names) {
  ComPtr<CGlobalConstantFactory> self(this);
  (void)FireNotification(&IKivDataFactoryNotifications::OnItemsRemoved, Self(), names);
}

}  // namespace velmar
