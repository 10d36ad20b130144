#include "core/constants_cache_base.h"

#include <algorithm>
#include <set>
#include <utility>

namespace velmar {

CConstantsCacheBase::~CConstantsCacheBase() = default;

void CConstantsCacheBase::AddOwner(CConstantsCacheOwner* owner) {
  if (owner && std::find(owners_.begin(), owners_.end(), owner) == owners_.end()) owners_.push_back(owner);
}

void CConstantsCacheBase::RemoveOwner(CConstantsCacheOwner* owner) { std::erase(owners_, owner); }

void CConstantsCacheBase::TellOwners(void (CConstantsCacheOwner::*operation)(const ConstantNames&),
                                     const ConstantNames& names) {
  // A copy: an owner may go away while it is told.
  const auto owners = owners_;
  for (CConstantsCacheOwner* owner : owners) {
    if (std::find(owners_.begin(), owners_.end(), owner) != owners_.end()) (owner->*operation)(names);
  }
}

ConstantEntry* CConstantsCacheBase::Touch(CConstantBase* constant, int64_t id) {
  auto slot = byId_.find(id);
  if (slot == byId_.end()) return nullptr;
  auto entry = byName_.find(slot->second.name);
  if (entry == byName_.end()) return nullptr;
  auto& attached = slot->second.attached;
  if (constant && std::find(attached.begin(), attached.end(), constant) == attached.end()) {
    attached.push_back(constant);
  }
  return &entry->second;
}

ConstantDefinition& CConstantsCacheBase::Definition(ConstantEntry& entry) {
  if (!entry.definition) {
    entry.definition = std::make_unique<ConstantDefinition>();
    static_cast<ConstantDefinitionParts&>(*entry.definition) = ParseConstantDefinition(entry.text);
  }
  return *entry.definition;
}

ConstantDefinition* CConstantsCacheBase::TouchDefinition(CConstantBase* constant, int64_t id) {
  ConstantEntry* entry = Touch(constant, id);
  if (!entry || !entry->IsSpreadsheet()) return nullptr;
  return &Definition(*entry);
}

ConstantElement* CConstantsCacheBase::TouchElement(CConstantBase* constant, int64_t id, uint32_t index,
                                                   KivResult* error) {
  ConstantDefinition* definition = TouchDefinition(constant, id);
  if (!definition) {
    *error = E_FAIL;
    return nullptr;
  }
  if (index >= definition->elements.size()) {
    *error = DISP_E_BADINDEX;
    return nullptr;
  }
  return &definition->elements[index];
}

ConstantEntry* CConstantsCacheBase::MutableEntry(int64_t id) { return Touch(nullptr, id); }

KivResult CConstantsCacheBase::CommitConstant(CConstantBase* constant, int64_t id) {
  ConstantEntry* entry = Touch(constant, id);
  if (!entry) return E_FAIL;
  if (entry->IsSpreadsheet() && entry->definition) {
    std::u16string text;
    if (const KivResult r = WriteConstantDefinition(*entry->definition, &text); Failed(r)) return r;
    entry->text = std::move(text);
  }
  TellOwners(&CConstantsCacheOwner::OnConstantsChanged, {*NameOf(id)});
  // The owner may have changed the set.
  entry = MutableEntry(id);
  if (!entry) return S_OK;
  if (entry->IsSpreadsheet()) {
    entry->definition.reset();  // parsed afresh, and fetched again on demand
    (void)Definition(*entry);
  }
  NotifyConstantChanged(DataStatus::kAvailable, id);
  return S_OK;
}

KivResult CConstantsCacheBase::SetValue(CConstantBase* constant, int64_t id, double value) {
  ConstantEntry* entry = Touch(constant, id);
  if (!entry || entry->IsSpreadsheet()) return E_FAIL;
  entry->value = value;
  return S_OK;
}

KivResult CConstantsCacheBase::SetUnit(CConstantBase* constant, int64_t id, const std::u16string& unit) {
  ConstantEntry* entry = Touch(constant, id);
  if (!entry) return E_FAIL;
  entry->unit = unit;
  return S_OK;
}

KivResult CConstantsCacheBase::DetachConstant(CConstantBase* constant, int64_t id) {
  auto slot = byId_.find(id);
  if (slot == byId_.end()) return E_FAIL;
  std::erase(slot->second.attached, constant);
  return S_OK;
}

KivResult CConstantsCacheBase::GetValue(CConstantBase* constant, int64_t id, double* value) {
  if (!value) return E_POINTER;
  ConstantEntry* entry = Touch(constant, id);
  if (!entry) return E_FAIL;
  if (!entry->IsSpreadsheet()) {
    *value = entry->value;
    return S_OK;
  }
  ConstantDefinition& definition = Definition(*entry);
  if (definition.retrieved) {
    *value = definition.retrievedValue;
    return S_OK;
  }
  if (definition.retriever) return KIV_E_PENDING;
  auto retriever = MakeClient<CExcelConstantRetrieverSM>(static_cast<CConstantRetrievalClient*>(this), id);
  if (const KivResult r = retriever->Start(definition); Failed(r)) return r;
  definition.retriever = std::move(retriever);
  return KIV_E_PENDING;
}

void CConstantsCacheBase::OnConstantRetrieved(int64_t id, KivResult status, double value) {
  ConstantEntry* entry = MutableEntry(id);
  if (!entry || !entry->definition) return;
  ConstantDefinition& definition = *entry->definition;
  definition.retriever.Reset();
  definition.retrieved = true;
  definition.retrievedValue = Succeeded(status) ? value : 0;
  NotifyConstantChanged(Succeeded(status) ? DataStatus::kAvailable : DataStatus::kNotAvailable, id);
}

KivResult CConstantsCacheBase::GetUnit(CConstantBase* constant, int64_t id, std::u16string* unit) {
  return GetStoredUnit(constant, id, unit);
}

KivResult CConstantsCacheBase::GetText(CConstantBase* constant, int64_t id, std::u16string* text) {
  if (!text) return E_POINTER;
  ConstantEntry* entry = Touch(constant, id);
  if (!entry) return E_FAIL;
  if (entry->IsSpreadsheet() && entry->definition) return WriteConstantDefinition(*entry->definition, text);
  *text = entry->text;
  return S_OK;
}

KivResult CConstantsCacheBase::GetStoredUnit(CConstantBase* constant, int64_t id, std::u16string* unit) {
  if (!unit) return E_POINTER;
  ConstantEntry* entry = Touch(constant, id);
  if (!entry) return E_FAIL;
  *unit = entry->unit;
  return S_OK;
}

KivResult CConstantsCacheBase::GetStoredValue(CConstantBase* constant, int64_t id, double* value) {
  if (!value) return E_POINTER;
  ConstantEntry* entry = Touch(constant, id);
  if (!entry) return E_FAIL;
  *value = entry->value;
  return S_OK;
}

KivResult CConstantsCacheBase::GetFile(CConstantBase* constant, int64_t id, std::u16string* file) {
  if (!file) return E_POINTER;
  ConstantDefinition* definition = TouchDefinition(constant, id);
  if (!definition) return E_FAIL;
  *file = definition->file;
  return S_OK;
}

KivResult CConstantsCacheBase::GetTarget(CConstantBase* constant, int64_t id, std::u16string* target) {
  if (!target) return E_POINTER;
  ConstantDefinition* definition = TouchDefinition(constant, id);
  if (!definition) return E_FAIL;
  *target = definition->target;
  return S_OK;
}

KivResult CConstantsCacheBase::SetFile(CConstantBase* constant, int64_t id, const std::u16string& file) {
  ConstantDefinition* definition = TouchDefinition(constant, id);
  if (!definition) return E_FAIL;
  definition->file = file;
  return S_OK;
}

KivResult CConstantsCacheBase::SetTarget(CConstantBase* constant, int64_t id, const std::u16string& target) {
  ConstantDefinition* definition = TouchDefinition(constant, id);
  if (!definition) return E_FAIL;
  definition->target = target;
  return S_OK;
}

KivResult CConstantsCacheBase::AddElement(CConstantBase* constant, int64_t id, uint32_t* index) {
  if (!index) return E_POINTER;
  ConstantDefinition* definition = TouchDefinition(constant, id);
  if (!definition) return E_FAIL;
  definition->elements.emplace_back();
  *index = static_cast<uint32_t>(definition->elements.size() - 1);
  return S_OK;
}

KivResult CConstantsCacheBase::GetElementCount(CConstantBase* constant, int64_t id, uint32_t* count) {
  if (!count) return E_POINTER;
  ConstantDefinition* definition = TouchDefinition(constant, id);
  if (!definition) return E_FAIL;
  *count = static_cast<uint32_t>(definition->elements.size());
  return S_OK;
}

KivResult CConstantsCacheBase::RemoveElement(CConstantBase* constant, int64_t id, uint32_t index) {
  ConstantDefinition* definition = TouchDefinition(constant, id);
  if (!definition) return E_FAIL;
  if (index >= definition->elements.size()) return DISP_E_BADINDEX;
  definition->elements.erase(definition->elements.begin() + index);
  return S_OK;
}

KivResult CConstantsCacheBase::GetElementName(CConstantBase* constant, int64_t id, uint32_t index,
                                              std::u16string* name) {
  if (!name) return E_POINTER;
  KivResult error = S_OK;
  ConstantElement* element = TouchElement(constant, id, index, &error);
  if (!element) return error;
  *name = element->name;
  return S_OK;
}

KivResult CConstantsCacheBase::GetElementValue(CConstantBase* constant, int64_t id, uint32_t index,
                                               std::u16string* value) {
  if (!value) return E_POINTER;
  KivResult error = S_OK;
  ConstantElement* element = TouchElement(constant, id, index, &error);
  if (!element) return error;
  *value = element->value;
  return S_OK;
}

KivResult CConstantsCacheBase::GetElementKind(CConstantBase* constant, int64_t id, uint32_t index, int32_t* kind) {
  if (!kind) return E_POINTER;
  KivResult error = S_OK;
  ConstantElement* element = TouchElement(constant, id, index, &error);
  if (!element) return error;
  *kind = element->kind;
  return S_OK;
}

KivResult CConstantsCacheBase::SetElementName(CConstantBase* constant, int64_t id, uint32_t index,
                                              const std::u16string& name) {
  KivResult error = S_OK;
  ConstantElement* element = TouchElement(constant, id, index, &error);
  if (!element) return error;
  element->name = name;
  return S_OK;
}

KivResult CConstantsCacheBase::SetElementValue(CConstantBase* constant, int64_t id, uint32_t index,
                                               const std::u16string& value) {
  KivResult error = S_OK;
  ConstantElement* element = TouchElement(constant, id, index, &error);
  if (!element) return error;
  return element->SetValue(value);
}

KivResult CConstantsCacheBase::SetElementKind(CConstantBase* constant, int64_t id, uint32_t index, int32_t kind) {
  KivResult error = S_OK;
  ConstantElement* element = TouchElement(constant, id, index, &error);
  if (!element) return error;
  return element->SetKind(kind);
}

void CConstantsCacheBase::NotifyConstantChanged(DataStatus status, int64_t id) {
  // A copy, and each object looked up again: a status change may release one.
  for (CConstantBase* constant : AttachedTo(id)) {
    auto slot = byId_.find(id);
    if (slot == byId_.end()) return;
    const auto& attached = slot->second.attached;
    if (std::find(attached.begin(), attached.end(), constant) != attached.end()) constant->SetConstantStatus(status);
  }
}

const ConstantEntry* CConstantsCacheBase::Find(const std::u16string& name) const {
  auto it = byName_.find(name);
  return it == byName_.end() ? nullptr : &it->second;
}

std::optional<std::u16string> CConstantsCacheBase::NameOf(int64_t id) const {
  auto it = byId_.find(id);
  if (it == byId_.end()) return std::nullopt;
  return it->second.name;
}

ConstantNames CConstantsCacheBase::GetNames() const {
  ConstantNames names;
  names.reserve(byName_.size());
  for (const auto& entry : byName_) names.push_back(entry.first);
  return names;
}

std::vector<ConstantRecord> CConstantsCacheBase::Records() const {
  std::vector<ConstantRecord> records;
  records.reserve(byName_.size());
  for (const auto& [name, entry] : byName_) {
    records.push_back({name, entry.IsSpreadsheet() ? 0.0 : entry.value, entry.unit, entry.text, entry.id});
  }
  return records;
}

std::vector<CConstantBase*> CConstantsCacheBase::AttachedTo(int64_t id) const {
  auto it = byId_.find(id);
  return it == byId_.end() ? std::vector<CConstantBase*>{} : it->second.attached;
}

int64_t CConstantsCacheBase::NewId(const ConstantRecord& record) {
  if (record.id >= 0 && !byId_.contains(record.id)) {
    nextId_ = std::max(nextId_, record.id + 1);
    return record.id;
  }
  return nextId_++;
}

ConstantEntry& CConstantsCacheBase::Insert(const ConstantRecord& record) {
  ConstantEntry entry;
  entry.id = NewId(record);
  entry.unit = record.unit;
  entry.text = record.text;
  entry.value = entry.IsSpreadsheet() ? 0 : record.value;
  entry.stored = 1;
  byId_[entry.id] = IdSlot{record.name, {}};
  return byName_.insert_or_assign(record.name, std::move(entry)).first->second;
}

bool CConstantsCacheBase::Erase(const std::u16string& name) {
  auto it = byName_.find(name);
  if (it == byName_.end()) return false;
  const int64_t id = it->second.id;
  std::vector<CConstantBase*> attached;
  if (auto slot = byId_.find(id); slot != byId_.end()) {
    attached = std::move(slot->second.attached);
    byId_.erase(slot);
  }
  byName_.erase(it);  // frees the definition; a running retrieval is cancelled
  for (CConstantBase* constant : attached) constant->OnConstantRemoved();
  return true;
}

void CConstantsCacheBase::ClearEntries() {
  byName_.clear();
  byId_.clear();
  nextId_ = 1;
}

void CConstantsCacheBase::Refresh(ConstantEntry& entry, const ConstantRecord& record) {
  entry.stored = 1;
  if (entry.unit != record.unit) entry.unit = record.unit;
  if (entry.text != record.text) {
    if (entry.definition) entry.definition->retrieved = false;
    entry.definition.reset();
    entry.text = record.text;
    if (entry.IsSpreadsheet()) entry.value = 0;
  }
  if (!entry.IsSpreadsheet() && entry.value != record.value) entry.value = record.value;
  NotifyConstantChanged(DataStatus::kAvailable, entry.id);
}

size_t CConstantsCacheBase::ForgetRetrievedValues() {
  std::vector<int64_t> forgotten;
  for (auto& [name, entry] : byName_) {
    if (!entry.definition || !entry.definition->retrieved) continue;
    entry.definition->retrieved = false;
    entry.definition->retrievedValue = 0;
    forgotten.push_back(entry.id);
  }
  for (int64_t id : forgotten) NotifyConstantChanged(DataStatus::kAvailable, id);
  return forgotten.size();
}

void CConstantsCacheBase::Merge(const std::vector<ConstantRecord>& records) {
  std::set<std::u16string> incoming;
  for (const ConstantRecord& record : records) incoming.insert(record.name);
  ConstantNames removed;
  for (const auto& entry : byName_) {
    if (!incoming.contains(entry.first)) removed.push_back(entry.first);
  }
  ConstantNames added;
  std::set<std::u16string> seen;
  for (const ConstantRecord& record : records) {
    if (!seen.insert(record.name).second) continue;  // the first of a name stands
    auto it = byName_.find(record.name);
    if (it == byName_.end()) {
      (void)Insert(record);
      added.push_back(record.name);
    } else {
      Refresh(it->second, record);
    }
  }
  for (const std::u16string& name : removed) (void)Erase(name);
  if (!removed.empty()) TellOwners(&CConstantsCacheOwner::OnConstantsRemoved, removed);
  if (!added.empty()) TellOwners(&CConstantsCacheOwner::OnConstantsAdded, added);
}

}  // namespace velmar
