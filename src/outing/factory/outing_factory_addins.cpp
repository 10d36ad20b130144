#include "outing/factory/outing_factory_addins.h"

#include <new>
#include <utility>

#include "outing/factory/outing_type_table.h"
#include "outing/factory/text_array.h"

namespace velmar {

COutingFactoryAddIns::COutingFactoryAddIns(ClassRegistry& classes) : classes_(classes) {}

COutingFactoryAddIns& COutingFactoryAddIns::Process() {
  // Never destroyed: add-in modules stay loaded to the end of the process.
  static COutingFactoryAddIns* const addIns = new COutingFactoryAddIns(ClassRegistry::Process());
  return *addIns;
}

KivResult COutingFactoryAddIns::SetOrder(const Variant* classIds) {
  if (!classIds) return E_POINTER;
  if (list_) return E_FAIL;
  TextArray texts;
  if (!ReadTextArray(*classIds, &texts)) return E_INVALIDARG;
  std::vector<Guid> order;
  order.reserve(texts.size());
  for (const std::optional<std::u16string>& text : texts) {
    std::optional<Guid> clsid = text ? Guid::Parse(*text) : std::nullopt;
    if (!clsid) return E_INVALIDARG;
    order.push_back(*clsid);
  }
  list_ = std::move(order);
  return S_OK;
}

const std::vector<Guid>& COutingFactoryAddIns::List() {
  if (!list_) {
    std::vector<Guid> members;
    // A category that cannot be listed leaves no add-ins.
    if (Failed(classes_.EnumClassesOfCategory(CATID_KivOutingFactories, &members))) members.clear();
    list_ = std::move(members);
  }
  return *list_;
}

void COutingFactoryAddIns::ForEachFactory(const std::function<bool(IKivNewOutingFactory& factory)>& fn) {
  const std::vector<Guid> list = List();  // a copy: fn may reach this object again
  for (const Guid& clsid : list) {
    if (clsid == CLSID_KivOutingFactory) continue;
    ComPtr<IKivNewOutingFactory> factory;
    if (Failed(classes_.CreateInstance(clsid, &factory)) || !factory) continue;
    if (fn(*factory)) return;
  }
}

KivResult COutingFactoryAddIns::GetTypes(OutingTypeList* types) {
  if (!types) return E_POINTER;
  try {
    if (!types_) types_ = BuildTypes();
    *types = *types_;
    return S_OK;
  } catch (const std::bad_alloc&) {
    return E_FAIL;
  }
}

OutingTypeList COutingFactoryAddIns::BuildTypes() {
  OutingTypeList types;
  for (OutingType type : {OutingType::kText, OutingType::kMatFile, OutingType::kTarn}) {
    types.push_back(OutingTypeRowOf(type).Record());
  }
  ForEachFactory([&](IKivNewOutingFactory& factory) {
    OutingTypeList theirs;
    if (Succeeded(factory.GetTypes(&theirs))) types.insert(types.end(), theirs.begin(), theirs.end());
    return false;
  });
  return types;
}

}  // namespace velmar
