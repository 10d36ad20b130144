#include "config/group_factory.h"

#include <iterator>

#include "core/stream_values.h"

namespace velmar {

namespace {

using Members = std::vector<std::u16string>;

KivResult WriteNames(IKivStream* stream, const Members& names) {
  KivResult r = WriteStreamU32(stream, static_cast<uint32_t>(names.size()));
  for (auto it = names.begin(); Succeeded(r) && it != names.end(); ++it) r = WriteStreamText(stream, *it);
  return r;
}

KivResult ReadNames(IKivStream* stream, Members* names) {
  uint32_t count = 0;
  KivResult r = ReadStreamU32(stream, &count);
  for (uint32_t i = 0; Succeeded(r) && i < count; ++i) r = ReadStreamText(stream, &names->emplace_back());
  return r;
}

uint64_t NamesSize(const Members& names) {
  uint64_t size = sizeof(uint32_t);
  for (const auto& name : names) size += StreamTextSize(name);
  return size;
}

}  // namespace

void CGroupFactory::Changed(const std::u16string& group) {
  dirty_ = true;
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

KivResult CGroupFactory::GetClassId(Guid* clsid) {
  if (!clsid) return E_POINTER;
  *clsid = CLSID_KivGroupFactory;
  return S_OK;
}

KivResult CGroupFactory::Load(IKivStream* stream) {
  if (!stream) return E_POINTER;
  uint32_t version = 0;
  uint32_t count = 0;
  KivResult r = ReadStreamU32(stream, &version);
  if (Succeeded(r) && version > kStreamVersion) r = E_FAIL;
  if (Succeeded(r)) r = ReadStreamU32(stream, &count);
  Groups read;
  for (uint32_t i = 0; Succeeded(r) && i < count; ++i) {
    std::u16string name;
    Members members;
    r = ReadStreamText(stream, &name);
    if (Succeeded(r)) r = ReadNames(stream, &members);
    if (Succeeded(r) && (name.empty() || !read.try_emplace(std::move(name), std::move(members)).second)) r = E_FAIL;
  }
  if (Failed(r)) return r;
  groups_ = std::move(read);
  dirty_ = false;
  return S_OK;
}

KivResult CGroupFactory::Save(IKivStream* stream, KivBool clearDirty) {
  if (!stream) return E_POINTER;
  KivResult r = WriteStreamU32(stream, kStreamVersion);
  if (Succeeded(r)) r = WriteStreamU32(stream, static_cast<uint32_t>(groups_.size()));
  for (auto it = groups_.begin(); Succeeded(r) && it != groups_.end(); ++it) {
    r = WriteStreamText(stream, it->first);
    if (Succeeded(r)) r = WriteNames(stream, it->second);
  }
  if (Failed(r)) return r;
  if (FromKivBool(clearDirty)) dirty_ = false;
  return S_OK;
}

KivResult CGroupFactory::GetSizeMax(uint64_t* size) {
  if (!size) return E_POINTER;
  *size = 2 * sizeof(uint32_t);
  for (const auto& [name, members] : groups_) *size += StreamTextSize(name) + NamesSize(members);
  return S_OK;
}

KivResult CGroupFactory::InitNew() {
  groups_.clear();
  dirty_ = true;
  return S_OK;
}

}  // namespace velmar
