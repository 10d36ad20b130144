// CStatusChannelDefinitions and its tree: how to read status channels bit
// by bit, built once from a status definitions blob and then read-only,
// shared by reference between an outing and its clients.
//
// Client thread only (built on it; read-only afterwards).
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "config/status_definitions_blob.h"
#include "velmar/status_channel_definitions.h"

namespace velmar {

class CBitFieldDefinitionEntry final : public KivObject<IKivBitFieldDefinitionEntry> {
 public:
  explicit CBitFieldDefinitionEntry(StatusBitEntry entry) : entry_(std::move(entry)) {}
  KivResult GetValueA(uint32_t* value) override;
  KivResult GetText(std::u16string* text) override;
  KivResult GetValueB(uint32_t* value) override;

 private:
  StatusBitEntry entry_;
};

class CBitFieldDefinition final : public KivObject<IKivBitFieldDefinition> {
 public:
  explicit CBitFieldDefinition(const StatusBitField& field);
  KivResult GetCount(int32_t* count) override;
  KivResult GetTextA(std::u16string* text) override;
  KivResult GetTextB(std::u16string* text) override;
  KivResult GetValueA(uint32_t* value) override;
  KivResult GetTextC(std::u16string* text) override;
  KivResult GetValueB(uint32_t* value) override;
  KivResult GetItem(int32_t index, IKivBitFieldDefinitionEntry** entry) override;

 private:
  std::u16string textA_, textB_, textC_;
  uint32_t valueA_, valueB_;
  std::vector<ComPtr<IKivBitFieldDefinitionEntry>> entries_;
};

class CStatusChannelDefinition final : public KivObject<IKivStatusChannelDefinition> {
 public:
  CStatusChannelDefinition(std::u16string keyText, const StatusDefinitionSource& source);
  KivResult GetCount(int32_t* count) override;
  KivResult GetChannelKeyText(std::u16string* key) override;
  KivResult GetValue(uint32_t* value) override;
  KivResult GetItem(int32_t index, IKivBitFieldDefinition** field) override;

 private:
  std::u16string keyText_;
  uint32_t value_;
  std::vector<ComPtr<IKivBitFieldDefinition>> fields_;
};

class CStatusChannelDefinitions final : public KivObject<IKivStatusChannelDefinitions> {
 public:
  void Add(ComPtr<IKivStatusChannelDefinition> definition) { definitions_.push_back(std::move(definition)); }
  KivResult GetCount(int32_t* count) override;
  KivResult GetItem(int32_t index, IKivStatusChannelDefinition** definition) override;

 private:
  std::vector<ComPtr<IKivStatusChannelDefinition>> definitions_;
};

// What the channel map needs of one channel record of a store.
struct StatusChannelRecord {
  std::u16string displayName;
  std::u16string tagName;
  int32_t quantityId = -1;
};

// Display name to channel key text: records with a tag name and a quantity
// id of 0 or more, an id above `largestQuantityId` keyed as 0; the first
// record of a display name wins.
std::map<std::u16string, std::u16string> BuildStatusChannelMap(const std::vector<StatusChannelRecord>& records,
                                                               int32_t largestQuantityId);

// The tree of the definitions whose name is in `channelMap`, in blob order;
// the others are left out.
ComPtr<CStatusChannelDefinitions> BuildStatusChannelDefinitions(
    const std::vector<StatusDefinitionSource>& source, const std::map<std::u16string, std::u16string>& channelMap);

// The whole road from a blob's bytes: a blob the reader refuses gives an
// empty tree, not an error.
ComPtr<CStatusChannelDefinitions> StatusChannelDefinitionsFromBlob(
    std::span<const uint8_t> blob, const std::map<std::u16string, std::u16string>& channelMap);

}  // namespace velmar
