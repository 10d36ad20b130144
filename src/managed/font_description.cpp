#include "managed/font_description.h"

namespace velmar::managed {

KivResult CFontDescription::GetName(std::u16string* name) {
  if (!name) return E_POINTER;
  *name = font_.name;
  return S_OK;
}

KivResult CFontDescription::GetSize(int64_t* size) {
  if (!size) return E_POINTER;
  *size = font_.size;
  return S_OK;
}

KivResult CFontDescription::GetBold(KivBool* bold) {
  if (!bold) return E_POINTER;
  *bold = ToKivBool(font_.bold);
  return S_OK;
}

KivResult CFontDescription::GetItalic(KivBool* italic) {
  if (!italic) return E_POINTER;
  *italic = ToKivBool(font_.italic);
  return S_OK;
}

std::optional<PluginFont> PluginFontOf(IKivUnknown* font) {
  auto description = QueryAs<IKivFontDescription>(font);
  if (!description) return std::nullopt;
  PluginFont out;
  KivBool bold = KIV_FALSE;
  KivBool italic = KIV_FALSE;
  if (Failed(description->GetName(&out.name)) || Failed(description->GetSize(&out.size)) ||
      Failed(description->GetBold(&bold)) || Failed(description->GetItalic(&italic)))
    return std::nullopt;
  out.bold = FromKivBool(bold);
  out.italic = FromKivBool(italic);
  return out;
}

}  // namespace velmar::managed

namespace velmar {

KivResult KivCreateFontDescription(const std::u16string& name, int64_t size, bool bold, bool italic,
                                   IKivUnknown** font) {
  if (!font) return E_POINTER;
  *font = nullptr;
  if (size < 1) return E_INVALIDARG;
  ComPtr<IKivUnknown> made(static_cast<IKivUnknown*>(
      MakeKiv<managed::CFontDescription>(managed::PluginFont{name, size, bold, italic}).Get()));
  *font = made.Detach();
  return S_OK;
}

}  // namespace velmar
