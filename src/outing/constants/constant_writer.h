// The writers of constants: a client edits a constant through its writer,
// and the edits take effect for everyone when the client lets the writer go
// (the cache's CommitConstant runs then, once, however many edits were made).
//
// A writer keeps its constant alive. A spreadsheet constant's writer also
// gives one list of the definition's steps, whose step objects work by
// position.
//
// Client thread only.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "core/constants_cache_base.h"
#include "velmar/constants.h"
#include "velmar/unknown.h"

namespace velmar {

// Where a constant object's entry lives: its cache, the object as the cache
// knows it, the entry's id, and the object held alive.
struct ConstantLink {
  std::shared_ptr<CConstantsCacheBase> cache;
  CConstantBase* constant = nullptr;
  int64_t id = -1;
  ComPtr<IKivUnknown> object;
};

class CConstantWriterBase {
 public:
  void MarkChanged() { changed_ = true; }
  const ConstantLink& link() const { return link_; }

 protected:
  explicit CConstantWriterBase(ConstantLink link) : link_(std::move(link)) {}
  // Commits when marked changed, then lets the constant forget this writer.
  ~CConstantWriterBase();
  CConstantWriterBase(const CConstantWriterBase&) = delete;
  CConstantWriterBase& operator=(const CConstantWriterBase&) = delete;

  // Marks changed when `result` is a success; gives it back.
  KivResult Changed(KivResult result) {
    if (Succeeded(result)) MarkChanged();
    return result;
  }

 private:
  ConstantLink link_;
  bool changed_ = false;
};

class CSimpleConstantWriter final : public KivObject<IKivSimpleConstantWriter>, public CConstantWriterBase {
 public:
  explicit CSimpleConstantWriter(ConstantLink link) : CConstantWriterBase(std::move(link)) {}

  KivResult SetUnit(const std::u16string& unit) override;
  KivResult SetValue(double value) override;
};

class CExcelConstantWriter final : public KivObject<IKivExcelConstantWriter>, public CConstantWriterBase {
 public:
  explicit CExcelConstantWriter(ConstantLink link) : CConstantWriterBase(std::move(link)) {}

  KivResult SetUnit(const std::u16string& unit) override;
  KivResult GetFile(std::u16string* file) override;
  KivResult SetFile(const std::u16string& file) override;
  KivResult GetElements(IKivExcelConstantElements** elements) override;
  KivResult GetTarget(std::u16string* target) override;
  KivResult SetTarget(const std::u16string& target) override;

 private:
  IKivExcelConstantElements* elements_ = nullptr;  // not counted: it holds this writer
  friend class CExcelConstantElements;
};

// The steps of one writer's definition; holds the writer.
class CExcelConstantElements final : public KivObject<IKivExcelConstantElements> {
 public:
  explicit CExcelConstantElements(ComPtr<CExcelConstantWriter> writer);
  ~CExcelConstantElements() override;

  KivResult GetCount(uint32_t* count) override;
  KivResult GetItem(uint32_t index, IKivExcelConstantElement** element) override;
  KivResult AddElement(IKivExcelConstantElement** element) override;
  KivResult RemoveElement(uint32_t index) override;

 private:
  ComPtr<CExcelConstantWriter> writer_;
};

// One step, by its position (from 0) in the definition.
class CExcelConstantElement final : public KivObject<IKivExcelConstantElement> {
 public:
  CExcelConstantElement(ComPtr<CExcelConstantWriter> writer, uint32_t index)
      : writer_(std::move(writer)), index_(index) {}

  KivResult GetKind(int32_t* kind) override;
  KivResult SetKind(int32_t kind) override;
  KivResult GetName(std::u16string* name) override;
  KivResult SetName(const std::u16string& name) override;
  KivResult GetValue(std::u16string* value) override;
  KivResult SetValue(const std::u16string& value) override;

 private:
  ComPtr<CExcelConstantWriter> writer_;
  const uint32_t index_;
};

}  // namespace velmar
