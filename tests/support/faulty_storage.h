// A storage that fails one chosen operation, wrapping a real one: the seam
// through which tests fail one step of the settings file's work. A fault
// names the operation and the element, "Op:storage/element" (the root is
// the empty name), or "Commit:storage" for a commit.
#pragma once

#include <string>

#include "velmar/storage.h"
#include "velmar/text.h"

namespace velmar::testing {

class FaultyStorage final : public KivObject<IKivStorage> {
 public:
  FaultyStorage(ComPtr<IKivStorage> inner, std::u16string name, std::shared_ptr<std::string> fault)
      : inner_(std::move(inner)), name_(std::move(name)), fault_(std::move(fault)) {}

  KivResult CreateStream(std::u16string_view n, uint32_t mode, IKivStream** out) override {
    return Hit("CreateStream", n) ? STG_E_MEDIUMFULL : inner_->CreateStream(n, mode, out);
  }
  KivResult OpenStream(std::u16string_view n, uint32_t mode, IKivStream** out) override {
    return Hit("OpenStream", n) ? STG_E_FILENOTFOUND : inner_->OpenStream(n, mode, out);
  }
  KivResult CreateStorage(std::u16string_view n, uint32_t mode, IKivStorage** out) override {
    return Hit("CreateStorage", n) ? STG_E_MEDIUMFULL : Wrap(n, inner_->CreateStorage(n, mode, out), out);
  }
  KivResult OpenStorage(std::u16string_view n, uint32_t mode, IKivStorage** out) override {
    return Hit("OpenStorage", n) ? STG_E_FILENOTFOUND : Wrap(n, inner_->OpenStorage(n, mode, out), out);
  }
  KivResult CopyTo(IKivStorage* dest) override { return inner_->CopyTo(dest); }
  KivResult MoveElementTo(std::u16string_view n, IKivStorage* dest, std::u16string_view newName,
                          uint32_t flags) override {
    return inner_->MoveElementTo(n, dest, newName, flags);
  }
  KivResult Commit(uint32_t flags) override { return Hit("Commit", {}) ? STG_E_MEDIUMFULL : inner_->Commit(flags); }
  KivResult Revert() override { return inner_->Revert(); }
  KivResult EnumElements(std::vector<StatStg>* out) override { return inner_->EnumElements(out); }
  KivResult DestroyElement(std::u16string_view n) override {
    return Hit("DestroyElement", n) ? STG_E_ACCESSDENIED : inner_->DestroyElement(n);
  }
  KivResult RenameElement(std::u16string_view oldName, std::u16string_view newName) override {
    return Hit("RenameElement", oldName) ? STG_E_ACCESSDENIED : inner_->RenameElement(oldName, newName);
  }
  KivResult SetClass(const Guid& clsid) override { return inner_->SetClass(clsid); }
  KivResult Stat(StatStg* out) override { return inner_->Stat(out); }

 private:
  bool Hit(const char* op, std::u16string_view element) const {
    std::string key = std::string(op) + ":" + WideToUtf8(name_);
    if (!element.empty()) key += "/" + WideToUtf8(std::u16string(element));
    return *fault_ == key;
  }
  KivResult Wrap(std::u16string_view n, KivResult r, IKivStorage** out) {
    if (Failed(r) || !out || !*out) return r;
    ComPtr<IKivStorage> inner;
    *inner.Put() = *out;
    *out = nullptr;
    auto wrapped = MakeKiv<FaultyStorage>(std::move(inner), std::u16string(n), fault_);
    return GiveOut<IKivStorage>(wrapped.Get(), out);
  }

  ComPtr<IKivStorage> inner_;
  std::u16string name_;
  std::shared_ptr<std::string> fault_;
};

}  // namespace velmar::testing
