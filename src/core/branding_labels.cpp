#include "core/branding_labels.h"

#include <array>

namespace velmar {

namespace {

constexpr std::array<std::u16string_view, kLabelCount> kDefaultLabels = {
    u"Name",           u"ID",
    u"Location",       u"Static Test",
    u"Outing Number",  u"Session Number",
    u"Fast Lap Number", u"Fast Lap Time",
    u"First Lap Number", u"Last Lap Number",
    u"Lap Information", u"Lap",
    u"Fast Lap Performance", u"Car Halt",
    u"Rolling",        u"In Lap",
    u"Out Lap",        u"Fast Lap Speed",
};

char16_t Lower(char16_t c) { return c >= u'A' && c <= u'Z' ? static_cast<char16_t>(c - u'A' + u'a') : c; }
char16_t Upper(char16_t c) { return c >= u'a' && c <= u'z' ? static_cast<char16_t>(c - u'a' + u'A') : c; }

}  // namespace

std::optional<std::u16string_view> DefaultLabel(uint32_t id) {
  if (id >= kDefaultLabels.size()) return std::nullopt;
  return kDefaultLabels[id];
}

std::u16string ApplyLabelForm(std::u16string_view text, LabelForm form) {
  std::u16string out(text);
  switch (form) {
    case LabelForm::kLower:
      for (auto& c : out) c = Lower(c);
      break;
    case LabelForm::kFirstUpper:
      if (!out.empty()) out[0] = Upper(out[0]);
      break;
    case LabelForm::kAsStored:
      break;
  }
  return out;
}

}  // namespace velmar
