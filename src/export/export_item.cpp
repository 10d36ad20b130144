#include "export/export_item.h"

namespace velmar {

CExportItem::~CExportItem() {
  if (waiter_) waiter_->Forget(this);
}

void CExportItem::LeaveWaiter() {
  left_ = true;
  if (CExportWaiter* waiter = waiter_) waiter->ItemLeft(this);
}

CExportWaiter::~CExportWaiter() {
  for (auto& [name, item] : items_) item->waiter_ = nullptr;
}

void CExportWaiter::AddItem(CExportItem* item) {
  if (item->waiter_ == this) return;
  if (item->waiter_) item->waiter_->Forget(item);
  auto [it, added] = items_.try_emplace(item->GetName(), item);
  if (!added) {
    it->second->waiter_ = nullptr;
    it->second = item;
  }
  item->waiter_ = this;
}

void CExportWaiter::Forget(CExportItem* item) {
  auto it = items_.find(item->GetName());
  if (it != items_.end() && it->second == item) items_.erase(it);
  if (item->waiter_ == this) item->waiter_ = nullptr;
}

void CExportWaiter::ItemLeft(CExportItem* item) {
  Forget(item);
  if (item->state() != CExportItem::kCollected) OnExportFailed(item);
  if (items_.empty()) OnExportsComplete();
}

}  // namespace velmar
