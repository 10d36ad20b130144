// The font description a host may hand the root, and the plug-in's view of
// any object offering IKivFontDescription.
//
// Client thread only.
#pragma once

#include <optional>

#include "managed/plugin_seam.h"
#include "velmar/font_description.h"

namespace velmar::managed {

class CFontDescription final : public KivObject<IKivFontDescription> {
 public:
  explicit CFontDescription(PluginFont font) : font_(std::move(font)) {}
  KivResult GetName(std::u16string* name) override;
  KivResult GetSize(int64_t* size) override;
  KivResult GetBold(KivBool* bold) override;
  KivResult GetItalic(KivBool* italic) override;

 private:
  PluginFont font_;
};

// The font as a plug-in gets it; none when `font` doesn't describe one.
std::optional<PluginFont> PluginFontOf(IKivUnknown* font);

}  // namespace velmar::managed
