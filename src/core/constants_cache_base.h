// CConstantsCacheBase: the values of a set of named constants (an outing's,
// or the session's global set), and the one place every constant object
// reads and edits them.
//
// Entries are kept by name (unique) and by id. Each constant object calls in
// with itself and the id it was made for; the first call attaches it to the
// id, so that a change of the entry reaches every object on it. Edits change
// the entry at once and nobody is told until the object's writer commits.
//
// A constant is simple (a number and a unit) when its text is empty, and
// spreadsheet-based otherwise: the text is then the definition, and the
// value is fetched in the background on first demand (constant_retriever.h).
//
// Owners hear of names that came, went or changed; an owner keeps the
// stream or the file behind the set.
//
// Client thread only.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "core/constant_definition.h"
#include "core/constant_retriever.h"
#include "velmar/types.h"
#include "velmar/unknown.h"

namespace velmar {

using ConstantNames = std::vector<std::u16string>;

// A constant as a source or a stream holds it.
struct ConstantRecord {
  std::u16string name;
  double value = 0;
  std::u16string unit;
  std::u16string text;  // empty: simple
  int64_t id = -1;      // -1: the cache gives one

  friend bool operator==(const ConstantRecord&, const ConstantRecord&) = default;
};

// The parsed definition of a spreadsheet constant, with its fetched value.
struct ConstantDefinition : ConstantDefinitionParts {
  bool retrieved = false;
  double retrievedValue = 0;
  ClientRef<CExcelConstantRetrieverSM> retriever;  // while a retrieval runs
};

struct ConstantEntry {
  double value = 0;      // a simple constant's number; 0 for a spreadsheet one
  std::u16string unit;
  std::u16string text;   // a spreadsheet constant's definition; empty for a simple one
  int64_t id = -1;
  uint32_t stored = 1;   // 1 while the entry is as its source holds it
  std::unique_ptr<ConstantDefinition> definition;  // made on first need

  bool IsSpreadsheet() const { return !text.empty(); }
};

// The constant object as the cache calls it.
class CConstantBase {
 public:
  virtual IKivUnknown* GetConstantObject() = 0;
  // The constant's entry went: its sinks hear of the removal.
  virtual void OnConstantRemoved() = 0;
  // The entry changed, or its value arrived (1) or can't be had (2).
  virtual void SetConstantStatus(DataStatus status) = 0;
  // The cache forgets the object; it forgets its writer.
  virtual void DetachConstant() = 0;

 protected:
  ~CConstantBase() = default;
};

class CConstantsCacheOwner {
 public:
  virtual void OnConstantsRemoved(const ConstantNames& names) = 0;
  virtual void OnConstantsChanged(const ConstantNames& names) = 0;
  virtual void OnConstantsAdded(const ConstantNames& names) = 0;

 protected:
  ~CConstantsCacheOwner() = default;
};

class CConstantsCacheBase : private CConstantRetrievalClient {
 public:
  CConstantsCacheBase(const CConstantsCacheBase&) = delete;
  CConstantsCacheBase& operator=(const CConstantsCacheBase&) = delete;

  void AddOwner(CConstantsCacheOwner* owner);
  void RemoveOwner(CConstantsCacheOwner* owner);

  // --- What a constant object calls. Each takes the caller and its id;
  // E_FAIL when the id has no entry. Element indices count from 0,
  // DISP_E_BADINDEX outside. Workbook operations give E_FAIL on a simple
  // constant.
  [[nodiscard]] virtual KivResult CommitConstant(CConstantBase* constant, int64_t id);
  [[nodiscard]] KivResult SetValue(CConstantBase* constant, int64_t id, double value);
  [[nodiscard]] KivResult SetUnit(CConstantBase* constant, int64_t id, const std::u16string& unit);
  [[nodiscard]] KivResult DetachConstant(CConstantBase* constant, int64_t id);
  // A spreadsheet constant fetches its value on first demand: KIV_E_PENDING
  // until it arrives (the object then hears status 1 or 2).
  [[nodiscard]] KivResult GetValue(CConstantBase* constant, int64_t id, double* value);
  [[nodiscard]] KivResult GetUnit(CConstantBase* constant, int64_t id, std::u16string* unit);
  [[nodiscard]] KivResult GetText(CConstantBase* constant, int64_t id, std::u16string* text);
  // The unit and value as they stand, with no retrieval.
  [[nodiscard]] KivResult GetStoredUnit(CConstantBase* constant, int64_t id, std::u16string* unit);
  [[nodiscard]] KivResult GetStoredValue(CConstantBase* constant, int64_t id, double* value);
  [[nodiscard]] KivResult GetFile(CConstantBase* constant, int64_t id, std::u16string* file);
  [[nodiscard]] KivResult GetTarget(CConstantBase* constant, int64_t id, std::u16string* target);
  [[nodiscard]] KivResult SetFile(CConstantBase* constant, int64_t id, const std::u16string& file);
  [[nodiscard]] KivResult SetTarget(CConstantBase* constant, int64_t id, const std::u16string& target);
  [[nodiscard]] KivResult AddElement(CConstantBase* constant, int64_t id, uint32_t* index);
  [[nodiscard]] KivResult GetElementCount(CConstantBase* constant, int64_t id, uint32_t* count);
  [[nodiscard]] KivResult RemoveElement(CConstantBase* constant, int64_t id, uint32_t index);
  [[nodiscard]] KivResult GetElementName(CConstantBase* constant, int64_t id, uint32_t index, std::u16string* name);
  [[nodiscard]] KivResult GetElementValue(CConstantBase* constant, int64_t id, uint32_t index, std::u16string* value);
  [[nodiscard]] KivResult GetElementKind(CConstantBase* constant, int64_t id, uint32_t index, int32_t* kind);
  [[nodiscard]] KivResult SetElementName(CConstantBase* constant, int64_t id, uint32_t index, const std::u16string& name);
  [[nodiscard]] KivResult SetElementValue(CConstantBase* constant, int64_t id, uint32_t index,
                                          const std::u16string& value);
  [[nodiscard]] KivResult SetElementKind(CConstantBase* constant, int64_t id, uint32_t index, int32_t kind);
  // Attaches the object to the id at once; false when the id has no entry.
  [[nodiscard]] bool Attach(CConstantBase* constant, int64_t id) { return Touch(constant, id) != nullptr; }
  // SetConstantStatus(status) on every object attached to the id.
  void NotifyConstantChanged(DataStatus status, int64_t id);

  // --- The set as a whole.
  const ConstantEntry* Find(const std::u16string& name) const;
  std::optional<std::u16string> NameOf(int64_t id) const;
  // In name order.
  ConstantNames GetNames() const;
  // Every entry in name order, with its id; a spreadsheet constant's value is 0.
  std::vector<ConstantRecord> Records() const;
  size_t size() const { return byName_.size(); }
  // Objects attached to the id, in the order they came.
  std::vector<CConstantBase*> AttachedTo(int64_t id) const;

  // Drops every fetched spreadsheet value, so the next read fetches it
  // again; the objects on each hear status 1. How many there were.
  size_t ForgetRetrievedValues();

  // Takes a newly read list as the set: names not in it go, new ones come,
  // and every entry kept is brought in line and its objects hear status 1,
  // changed or not. A name given twice: the first stands. Owners hear of the
  // removed names, then of the added ones.
  void Merge(const std::vector<ConstantRecord>& records);

 protected:
  CConstantsCacheBase() = default;
  virtual ~CConstantsCacheBase();

  // The id of a new entry: the record's own, or the next of this cache.
  [[nodiscard]] virtual int64_t NewId(const ConstantRecord& record);

  // Enters a record (the name must be new); the entry made.
  ConstantEntry& Insert(const ConstantRecord& record);
  // Takes a name out of both maps; each object on it forgets the cache and
  // hears of the removal. False for an unknown name.
  bool Erase(const std::u16string& name);
  // Empties both maps without telling anyone and restarts ids.
  void ClearEntries();
  ConstantEntry* MutableEntry(int64_t id);
  // Parses the definition of a spreadsheet entry if it hasn't been.
  static ConstantDefinition& Definition(ConstantEntry& entry);
  void TellOwners(void (CConstantsCacheOwner::*operation)(const ConstantNames&), const ConstantNames& names);

 private:
  struct IdSlot {
    std::u16string name;
    std::vector<CConstantBase*> attached;
  };

  // Finds the entry of `id` and attaches `constant` to it; null when none.
  ConstantEntry* Touch(CConstantBase* constant, int64_t id);
  // Touch, and E_FAIL for a simple constant; parses the definition.
  ConstantDefinition* TouchDefinition(CConstantBase* constant, int64_t id);
  ConstantElement* TouchElement(CConstantBase* constant, int64_t id, uint32_t index, KivResult* error);
  // Brings a kept entry in line with a record; its objects hear status 1.
  void Refresh(ConstantEntry& entry, const ConstantRecord& record);
  void OnConstantRetrieved(int64_t id, KivResult status, double value) override;

  std::map<std::u16string, ConstantEntry> byName_;
  std::map<int64_t, IdSlot> byId_;
  int64_t nextId_ = 1;
  std::vector<CConstantsCacheOwner*> owners_;
};

}  // namespace velmar
