#include "config/status_channel_definitions.h"

#include "velmar/channel_key.h"

namespace velmar {

namespace {

template <class T>
KivResult Give(T* out, const T& value, KivResult nullResult = E_POINTER) {
  if (!out) return nullResult;
  *out = value;
  return S_OK;
}

// GetItem of every list of the tree: the index is checked before the out.
template <class Item, class Out>
KivResult GiveItem(const std::vector<ComPtr<Item>>& items, int32_t index, Out** out) {
  if (index < 1 || static_cast<size_t>(index) > items.size()) return E_INVALIDARG;
  if (!out) return E_POINTER;
  *out = items[static_cast<size_t>(index - 1)].Get();
  (*out)->AddRef();
  return S_OK;
}

template <class Item>
KivResult GiveCount(const std::vector<ComPtr<Item>>& items, int32_t* count) {
  return Give(count, static_cast<int32_t>(items.size()));
}

}  // namespace

KivResult CBitFieldDefinitionEntry::GetValueA(uint32_t* value) { return Give(value, entry_.valueA, E_INVALIDARG); }
KivResult CBitFieldDefinitionEntry::GetText(std::u16string* text) { return Give(text, entry_.text, E_INVALIDARG); }
KivResult CBitFieldDefinitionEntry::GetValueB(uint32_t* value) { return Give(value, entry_.valueB, E_INVALIDARG); }

CBitFieldDefinition::CBitFieldDefinition(const StatusBitField& field)
    : textA_(field.textA), textB_(field.textB), textC_(field.textC), valueA_(field.valueA), valueB_(field.valueB) {
  for (const auto& entry : field.entries) entries_.push_back(MakeKiv<CBitFieldDefinitionEntry>(entry));
}

KivResult CBitFieldDefinition::GetCount(int32_t* count) { return GiveCount(entries_, count); }
KivResult CBitFieldDefinition::GetTextA(std::u16string* text) { return Give(text, textA_); }
KivResult CBitFieldDefinition::GetTextB(std::u16string* text) { return Give(text, textB_); }
KivResult CBitFieldDefinition::GetValueA(uint32_t* value) { return Give(value, valueA_); }
KivResult CBitFieldDefinition::GetTextC(std::u16string* text) { return Give(text, textC_); }
KivResult CBitFieldDefinition::GetValueB(uint32_t* value) { return Give(value, valueB_); }
KivResult CBitFieldDefinition::GetItem(int32_t index, IKivBitFieldDefinitionEntry** entry) {
  return GiveItem(entries_, index, entry);
}

CStatusChannelDefinition::CStatusChannelDefinition(std::u16string keyText, const StatusDefinitionSource& source)
    : keyText_(std::move(keyText)), value_(source.value) {
  for (const auto& field : source.fields) fields_.push_back(MakeKiv<CBitFieldDefinition>(field));
}

KivResult CStatusChannelDefinition::GetCount(int32_t* count) { return GiveCount(fields_, count); }
KivResult CStatusChannelDefinition::GetChannelKeyText(std::u16string* key) { return Give(key, keyText_); }
KivResult CStatusChannelDefinition::GetValue(uint32_t* value) { return Give(value, value_); }
KivResult CStatusChannelDefinition::GetItem(int32_t index, IKivBitFieldDefinition** field) {
  return GiveItem(fields_, index, field);
}

KivResult CStatusChannelDefinitions::GetCount(int32_t* count) { return GiveCount(definitions_, count); }
KivResult CStatusChannelDefinitions::GetItem(int32_t index, IKivStatusChannelDefinition** definition) {
  return GiveItem(definitions_, index, definition);
}

std::map<std::u16string, std::u16string> BuildStatusChannelMap(const std::vector<StatusChannelRecord>& records,
                                                               int32_t largestQuantityId) {
  std::map<std::u16string, std::u16string> map;
  for (const auto& record : records) {
    if (record.tagName.empty() || record.quantityId < 0) continue;
    const uint32_t id = record.quantityId > largestQuantityId ? 0 : static_cast<uint32_t>(record.quantityId);
    const CChannelKey key(record.tagName, id);
    if (key.valid()) map.try_emplace(record.displayName, key.text());
  }
  return map;
}

ComPtr<CStatusChannelDefinitions> BuildStatusChannelDefinitions(
    const std::vector<StatusDefinitionSource>& source, const std::map<std::u16string, std::u16string>& channelMap) {
  auto tree = MakeKiv<CStatusChannelDefinitions>();
  for (const auto& item : source) {
    const auto found = channelMap.find(item.name);
    if (found == channelMap.end()) continue;
    tree->Add(MakeKiv<CStatusChannelDefinition>(found->second, item));
  }
  return tree;
}

ComPtr<CStatusChannelDefinitions> StatusChannelDefinitionsFromBlob(
    std::span<const uint8_t> blob, const std::map<std::u16string, std::u16string>& channelMap) {
  std::vector<StatusDefinitionSource> source;
  if (Failed(ParseStatusDefinitionsBlob(blob, &source))) return MakeKiv<CStatusChannelDefinitions>();
  return BuildStatusChannelDefinitions(source, channelMap);
}

}  // namespace velmar
