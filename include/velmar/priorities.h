// Event priorities: each event class has an id, a name and two colours
// (0x00BBGGRR). At most eight.
#pragma once

#include <cstdint>
#include <string>

#include "velmar/guid.h"
#include "velmar/unknown.h"

namespace velmar {

struct IKivPriority : IKivUnknown {
  static constexpr Guid iid = Guid::Literal("{DFC42778-4303-45A7-9D09-0FA8C305A56F}");
  virtual KivResult SetBackColor(uint32_t colour) = 0;
  virtual KivResult GetBackColor(uint32_t* colour) = 0;
  virtual KivResult SetForeColor(uint32_t colour) = 0;
  virtual KivResult GetForeColor(uint32_t* colour) = 0;
  virtual KivResult GetId(int32_t* id) = 0;
  virtual KivResult SetName(const std::u16string& name) = 0;
  virtual KivResult GetName(std::u16string* name) = 0;
};

// Indexes count from 1; DISP_E_BADINDEX for a bad index or id.
struct IKivPriorities : IKivUnknown {
  static constexpr Guid iid = Guid::Literal("{217B06BA-0C94-41F4-A5B3-0473D51F0923}");
  virtual KivResult GetCount(int32_t* count) = 0;
  virtual KivResult SetDefaultForeColor(uint32_t colour) = 0;
  virtual KivResult GetDefaultForeColor(uint32_t* colour) = 0;
  virtual KivResult SetDefaultBackColor(uint32_t colour) = 0;
  virtual KivResult GetDefaultBackColor(uint32_t* colour) = 0;
  virtual KivResult GetByIndex(int32_t index, IKivPriority** priority) = 0;
  virtual KivResult GetById(int32_t id, IKivPriority** priority) = 0;
  // Always 8.
  virtual KivResult GetMaximumCount(int32_t* count) = 0;
  // KIV_E_PRIORITIES_FULL with eight present.
  virtual KivResult Add(int32_t id, IKivPriority** priority) = 0;
  virtual KivResult Remove(int32_t index) = 0;
};

}  // namespace velmar
