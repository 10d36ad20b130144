#include "config/group_factory.h"

#include <iterator>

namespace velmar {

void CGroupFactory::Changed(const std::u16string& group) {
  (void)FireNotification(&IKivGroupFactoryNotifications::OnGroupsChanged, static_cast<IKivGroupFactory*>(this),
                         group);
}

KivResult CGroupFactory::GetCount(uint32_t* count) {
  if (!count) return E_POINTER;
  *count = static_cast<uint32_t>(groups_.size());
  return S_OK;
}

KivResult CGroupFactory::GetGroupName(uint32_t index, std::u16string* name) {
  if (!name) return E_POINTER;
  if (index < 1 || index > groups_.size()) return DISP_E_BADINDEX;
  *name = std::next(groups_.begin(), static_cast<std::ptrdiff_t>(index - 1))->first;
  return S_OK;
}

KivResult CGroupFactory::AddGroup(const std::u16string& name) {
  if (name.empty()) return E_INVALIDARG;
  if (!groups_.try_emplace(name).second) return S_FALSE;
  Changed(name);
  return S_OK;
}

KivResult CGroupFactory::RemoveGroup(const std::u16string& name) {
  if (groups_.erase(name) == 0) return E_INVALIDARG;
  Changed(name);
  return S_OK;
}

KivResult CGroupFactory::GetMembers(const std::u16string& group, std::vector<std::u16string>* channels) {
  if (!channels) return E_POINTER;
  auto it = groups_.find(group);
  if (it == groups_.end()) return E_INVALIDARG;
  *channels = it->second;
  return S_OK;
}

KivResult CGroupFactory::SetMembers(const std::u16string& group, const std::vector<std::u16string>& channels) {
  auto it = groups_.find(group);
  if (it == groups_.end()) return E_INVALIDARG;
  if (it->second == channels) return S_FALSE;
  it->second = channels;
  Changed(group);
  return S_OK;
}

}  // namespace velmar
