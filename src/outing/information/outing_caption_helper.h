// COutingCaptionHelper: the caption every outing shows in lists, built from
// a format of tokens ("%driver% %track% %fasttime%") over the outing's
// information, or "<session:outing:firstlap>" by default. A caption never
// fails: every piece that cannot be read prints its mark ("#", "###",
// "xxx").
//
// Client thread only.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "velmar/property_set.h"
#include "velmar/velmar.h"

namespace velmar {

// What the cache gives the helper, in slot order.
class COutingCaptionHelperCallback {
 public:
  virtual std::u16string GetDefaultCaption(IKivPropertySet* properties) = 0;
  virtual std::u16string GetPath() = 0;
  // The lap regions of the outing's selection are not reached yet: no
  // selection means no average speed ("#").
  virtual IKivUnknown* GetSelection() { return nullptr; }
  virtual void OnCaptionInvalid() = 0;

 protected:
  ~COutingCaptionHelperCallback() = default;
};

// The root's display settings a caption reads; the defaults stand without a root.
struct CaptionSettings {
  std::u16string format;  // empty: "%default%"
  uint32_t timeFormat = 2;
  uint16_t timePrecision = 3;
  uint32_t performanceFormat = 0;
};

// The settings of `root` (any that can't be read keeps its default).
CaptionSettings ReadCaptionSettings(IKivVelmar* root);

// "<004:003:001>" from "Session number", "Outing number" and "First lap
// number"; `plainLabel` ("ASCII Outing") when none of them can be read.
std::u16string DefaultCaption(IKivPropertySet* properties, std::u16string_view plainLabel);

class COutingCaptionHelper {
 public:
  explicit COutingCaptionHelper(COutingCaptionHelperCallback* callback) : callback_(callback) {}

  // The caption of `properties` (may be null) under `settings`.
  std::u16string BuildCaption(IKivPropertySet* properties, const CaptionSettings& settings);

 private:
  std::u16string Token(std::u16string_view token, IKivPropertySet* properties, const CaptionSettings& settings);
  std::u16string FastTime(IKivPropertySet* properties, const CaptionSettings& settings);

  COutingCaptionHelperCallback* callback_;
};

}  // namespace velmar
