// A font as a host gives it to the root (IKivVelmarControl::PutFont): the
// root passes it on to every plug-in tool with an appearance whenever its
// control properties change, as it does its colours. A font object that
// doesn't offer this interface is kept but not passed on.
//
//   ComPtr<IKivUnknown> font;
//   KivCreateFontDescription(u"Segoe UI", 90000, false, false, font.Put());  // 9 pt
//   control->PutFont(font.Get());
#pragma once

#include <cstdint>
#include <string>

#include "velmar/types.h"
#include "velmar/unknown.h"

namespace velmar {

struct IKivFontDescription : IKivUnknown {
  static constexpr Guid iid = Guid::Literal("{E8773FE7-30BE-4449-A880-26AE55D52DA6}");
  virtual KivResult GetName(std::u16string* name) = 0;
  // In 1/10000 of a point.
  virtual KivResult GetSize(int64_t* size) = 0;
  virtual KivResult GetBold(KivBool* bold) = 0;
  virtual KivResult GetItalic(KivBool* italic) = 0;
};

// A font description holding these values. E_INVALIDARG for a size below 1.
KivResult KivCreateFontDescription(const std::u16string& name, int64_t size, bool bold, bool italic,
                                   IKivUnknown** font);

}  // namespace velmar
