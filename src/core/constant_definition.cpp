#include "core/constant_definition.h"

namespace velmar {

KivResult ConstantElement::SetKind(int32_t newKind) {
  if (newKind < kSelectSheet || newKind > kSetRange) return E_INVALIDARG;
  kind = newKind;
  if (kind != kSetRange) value.clear();
  return S_OK;
}

KivResult ConstantElement::SetValue(const std::u16string& newValue) {
  if (kind != kSetRange) return E_INVALIDARG;
  value = newValue;
  return S_OK;
}

namespace {

// False when the field holds no usable step.
bool ParseElement(const std::u16string& field, ConstantElement* element) {
  if (field.front() == u'$') {
    const size_t eq = field.find(u'=', 1);
    if (eq == std::u16string::npos || eq == 1 || eq + 1 == field.size()) return false;
    *element = {ConstantElement::kSetRange, field.substr(1, eq - 1), field.substr(eq + 1)};
    return true;
  }
  if (field.front() == u'?') {
    if (field.size() == 1) return false;
    *element = {ConstantElement::kRunMacro, field.substr(1), {}};
    return true;
  }
  *element = {ConstantElement::kSelectSheet, field, {}};
  return true;
}

}  // namespace

ConstantDefinitionParts ParseConstantDefinition(const std::u16string& text) {
  ConstantDefinitionParts parts;
  std::vector<std::u16string> fields;  // those followed by "|"
  size_t pos = text.empty() ? 0 : 1;   // the leading separator
  while (pos <= text.size()) {
    const size_t bar = text.find(u'|', pos);
    if (bar == std::u16string::npos) {
      parts.target = text.substr(pos);
      break;
    }
    if (bar == pos) break;  // an empty field ends the parse
    fields.push_back(text.substr(pos, bar - pos));
    pos = bar + 1;
  }
  if (fields.empty()) return parts;
  parts.file = fields.front();
  for (size_t i = 1; i < fields.size(); ++i) {
    ConstantElement element;
    if (ParseElement(fields[i], &element)) parts.elements.push_back(std::move(element));
  }
  return parts;
}

std::u16string ConstantElementText(const ConstantElement& element) {
  if (element.name.empty()) return {};
  switch (element.kind) {
    case ConstantElement::kSelectSheet:
      return element.name;
    case ConstantElement::kRunMacro:
      return u"?" + element.name;
    case ConstantElement::kSetRange:
      if (element.value.empty()) return {};
      return u"$" + element.name + u"=" + element.value;
    default:
      return {};
  }
}

KivResult WriteConstantDefinition(const ConstantDefinitionParts& parts, std::u16string* text) {
  if (!text) return E_POINTER;
  std::u16string out = u"|" + parts.file + u"|";
  for (const ConstantElement& element : parts.elements) {
    const std::u16string field = ConstantElementText(element);
    if (field.empty()) return E_FAIL;
    out += field;
    out += u'|';
  }
  out += parts.target;
  *text = std::move(out);
  return S_OK;
}

}  // namespace velmar
