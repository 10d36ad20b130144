#include "outing/constants/constant_writer.h"

namespace velmar {

CConstantWriterBase::~CConstantWriterBase() {
  if (!link_.cache || !link_.constant) return;
  if (changed_) (void)link_.cache->CommitConstant(link_.constant, link_.id);
  link_.constant->DetachConstant();
}

// --- Simple ---------------------------------------------------------------

KivResult CSimpleConstantWriter::SetUnit(const std::u16string& unit) {
  return Changed(link().cache->SetUnit(link().constant, link().id, unit));
}

KivResult CSimpleConstantWriter::SetValue(double value) {
  return Changed(link().cache->SetValue(link().constant, link().id, value));
}

// --- Spreadsheet ----------------------------------------------------------

KivResult CExcelConstantWriter::SetUnit(const std::u16string& unit) {
  return Changed(link().cache->SetUnit(link().constant, link().id, unit));
}

KivResult CExcelConstantWriter::GetFile(std::u16string* file) {
  if (!file) return E_POINTER;
  return link().cache->GetFile(link().constant, link().id, file);
}

KivResult CExcelConstantWriter::SetFile(const std::u16string& file) {
  if (file.empty()) return E_FAIL;
  return Changed(link().cache->SetFile(link().constant, link().id, file));
}

KivResult CExcelConstantWriter::GetElements(IKivExcelConstantElements** elements) {
  if (!elements) return E_POINTER;
  *elements = nullptr;
  if (elements_) return GiveOut(elements_, elements);
  auto list = MakeKiv<CExcelConstantElements>(ComPtr<CExcelConstantWriter>(this));
  elements_ = list.Get();
  *elements = list.Detach();
  return S_OK;
}

KivResult CExcelConstantWriter::GetTarget(std::u16string* target) {
  if (!target) return E_POINTER;
  return link().cache->GetTarget(link().constant, link().id, target);
}

KivResult CExcelConstantWriter::SetTarget(const std::u16string& target) {
  if (target.empty()) return E_FAIL;
  return Changed(link().cache->SetTarget(link().constant, link().id, target));
}

// --- Steps ----------------------------------------------------------------

CExcelConstantElements::CExcelConstantElements(ComPtr<CExcelConstantWriter> writer) : writer_(std::move(writer)) {}

CExcelConstantElements::~CExcelConstantElements() { writer_->elements_ = nullptr; }

KivResult CExcelConstantElements::GetCount(uint32_t* count) {
  if (!count) return E_POINTER;
  const ConstantLink& link = writer_->link();
  return link.cache->GetElementCount(link.constant, link.id, count);
}

KivResult CExcelConstantElements::GetItem(uint32_t index, IKivExcelConstantElement** element) {
  if (!element) return E_POINTER;
  *element = nullptr;
  uint32_t count = 0;
  if (const KivResult r = GetCount(&count); Failed(r)) return r;
  if (index < 1 || index > count) return DISP_E_BADINDEX;
  *element = MakeKiv<CExcelConstantElement>(writer_, index - 1).Detach();
  return S_OK;
}

KivResult CExcelConstantElements::AddElement(IKivExcelConstantElement** element) {
  if (!element) return E_POINTER;
  *element = nullptr;
  const ConstantLink& link = writer_->link();
  uint32_t index = 0;
  if (const KivResult r = link.cache->AddElement(link.constant, link.id, &index); Failed(r)) return r;
  writer_->MarkChanged();
  *element = MakeKiv<CExcelConstantElement>(writer_, index).Detach();
  return S_OK;
}

KivResult CExcelConstantElements::RemoveElement(uint32_t index) {
  if (index < 1) return DISP_E_BADINDEX;
  const ConstantLink& link = writer_->link();
  const KivResult r = link.cache->RemoveElement(link.constant, link.id, index - 1);
  if (Succeeded(r)) writer_->MarkChanged();
  return r;
}

KivResult CExcelConstantElement::GetKind(int32_t* kind) {
  if (!kind) return E_POINTER;
  const ConstantLink& link = writer_->link();
  return link.cache->GetElementKind(link.constant, link.id, index_, kind);
}

KivResult CExcelConstantElement::SetKind(int32_t kind) {
  const ConstantLink& link = writer_->link();
  const KivResult r = link.cache->SetElementKind(link.constant, link.id, index_, kind);
  if (Succeeded(r)) writer_->MarkChanged();
  return r;
}

KivResult CExcelConstantElement::GetName(std::u16string* name) {
  if (!name) return E_POINTER;
  const ConstantLink& link = writer_->link();
  return link.cache->GetElementName(link.constant, link.id, index_, name);
}

KivResult CExcelConstantElement::SetName(const std::u16string& name) {
  const ConstantLink& link = writer_->link();
  const KivResult r = link.cache->SetElementName(link.constant, link.id, index_, name);
  if (Succeeded(r)) writer_->MarkChanged();
  return r;
}

KivResult CExcelConstantElement::GetValue(std::u16string* value) {
  if (!value) return E_POINTER;
  const ConstantLink& link = writer_->link();
  return link.cache->GetElementValue(link.constant, link.id, index_, value);
}

KivResult CExcelConstantElement::SetValue(const std::u16string& value) {
  const ConstantLink& link = writer_->link();
  const KivResult r = link.cache->SetElementValue(link.constant, link.id, index_, value);
  if (Succeeded(r)) writer_->MarkChanged();
  return r;
}

}  // namespace velmar
