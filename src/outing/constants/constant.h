// The constant objects a client gets from a constant factory: a simple
// constant (CSimpleConstant) or a spreadsheet constant (CExcelConstant),
// both a data item (data_status_item.h) over one entry of a constants cache.
//
// The object reads through its cache, attaches itself to its entry so that
// it hears of changes (a data change notification over the whole range), and
// hears of its entry's removal (the removal notification). It holds its
// writer only weakly: the writer holds it, and tells it when it goes.
//
// MakeConstant gives the right kind for the entry.
//
// Client thread only.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "core/constants_cache_base.h"
#include "outing/constants/constant_writer.h"
#include "outing/status/data_status_item.h"
#include "velmar/constants.h"

namespace velmar {

template <class Derived, class Interface, class WriterInterface, class Writer>
class CConstant : public IKivDataImpl<Derived, Interface>, public CConstantBase {
 public:
  CConstant(std::u16string name, std::shared_ptr<CConstantsCacheBase> cache, int64_t id)
      : IKivDataImpl<Derived, Interface>(std::move(name)), cache_(std::move(cache)), id_(id) {}
  ~CConstant() override {
    if (cache_) (void)cache_->DetachConstant(this, id_);
  }

  // IKivConstant
  KivResult GetText(std::u16string* text) override {
    if (!text) return E_POINTER;
    return cache_->GetText(this, id_, text);
  }
  KivResult GetValue(double* value) override {
    const KivResult r = value ? cache_->GetValue(this, id_, value) : E_POINTER;
    // Told once: a status that stands is not told again.
    if (r == KIV_E_PENDING) {
      this->SetStatusRange(DataStatus::kPending, TimeRange::Empty());
    } else if (Failed(r)) {
      this->SetStatusRange(DataStatus::kNotAvailable, TimeRange::Empty());
    }
    return r;
  }
  KivResult GetWriter(WriterInterface** writer) override {
    if (!writer) return E_POINTER;
    *writer = nullptr;
    if (writer_) return GiveOut(static_cast<WriterInterface*>(writer_), writer);
    ComPtr<Writer> made;
    try {
      made = MakeKiv<Writer>(ConstantLink{cache_, this, id_, ComPtr<IKivUnknown>(this->PrimaryUnknown())});
    } catch (const std::bad_alloc&) {
      return E_FAIL;
    }
    writer_ = made.Get();
    *writer = made.Detach();
    return S_OK;
  }
  KivResult GetUnit(std::u16string* unit) override {
    if (!unit) return E_POINTER;
    return cache_->GetUnit(this, id_, unit);
  }

  // CConstantBase
  IKivUnknown* GetConstantObject() override { return this->PrimaryUnknown(); }
  void OnConstantRemoved() override { this->FireRemoved(); }
  void SetConstantStatus(DataStatus status) override {
    this->SetStatusRange(status, TimeRange::Whole());
    if (status == DataStatus::kNotAvailable) this->NotifyDataFailed();
  }
  void DetachConstant() override { writer_ = nullptr; }

  int64_t id() const { return id_; }
  // Attaches to the entry and reports status 1 over the whole range, as a
  // newly bound item does. False when the entry is gone.
  [[nodiscard]] bool Bind() {
    if (!cache_->Attach(this, id_)) return false;
    this->SetStatusRange(DataStatus::kAvailable, TimeRange::Whole());
    return true;
  }

 protected:
  // Available while the entry exists; a spreadsheet value that can't be had
  // is reported by the retrieval.
  bool PrepareData() override { return cache_->NameOf(id_).has_value(); }
  void OnInputReset() override {}

 private:
  std::shared_ptr<CConstantsCacheBase> cache_;
  const int64_t id_;
  Writer* writer_ = nullptr;  // not counted: the writer holds this object
};

class CSimpleConstant final
    : public CConstant<CSimpleConstant, IKivSimpleConstant, IKivSimpleConstantWriter, CSimpleConstantWriter> {
 public:
  using CConstant::CConstant;
};

class CExcelConstant final
    : public CConstant<CExcelConstant, IKivExcelConstant, IKivExcelConstantWriter, CExcelConstantWriter> {
 public:
  using CConstant::CConstant;
};

// A new object for the constant `name` of `cache`, of the entry's kind and
// bound to it. E_INVALIDARG when the cache has no such constant.
[[nodiscard]] KivResult MakeConstant(const std::shared_ptr<CConstantsCacheBase>& cache, const std::u16string& name,
                                     ComPtr<IKivConstant>* constant);

}  // namespace velmar

namespace velmar {

// The lookup of a constant factory: the object `slot` remembers when it is
// still alive on the entry, else a new one, which `slot` then remembers (not
// counted: an object lives as long as its clients). E_INVALIDARG for an
// empty or unknown name.
[[nodiscard]] KivResult FindOrMakeConstant(const std::shared_ptr<CConstantsCacheBase>& cache,
                                           const std::u16string& name, CConstantBase** slot, IKivConstant** constant);

}  // namespace velmar
