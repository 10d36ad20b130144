#include "outing/factory/text_array.h"

namespace velmar {

bool ReadTextArray(const Variant& array, TextArray* out) {
  const std::vector<Variant>* elements = array.AsArray();
  if (!elements) return false;
  TextArray texts;
  texts.reserve(elements->size());
  for (const Variant& element : *elements) {
    if (element.empty()) {
      texts.emplace_back();
    } else if (const std::u16string* text = element.AsText()) {
      texts.emplace_back(*text);
    } else {
      return false;
    }
  }
  *out = std::move(texts);
  return true;
}

}  // namespace velmar
