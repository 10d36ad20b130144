// CPriorities: the event priorities of the settings file, reported to the
// root through its parent callback. The default colours work now; the
// priority objects themselves (Add, Remove, the defaults of Reset) come with
// the priorities' persistence and give E_NOTIMPL until then.
//
// Client thread only.
#pragma once

#include <cstdint>
#include <vector>

#include "core/velmar_parts.h"
#include "velmar/priorities.h"

namespace velmar {

class CPriorities final : public KivObject<IKivPriorities, IKivPrioritiesInternal> {
 public:
  static constexpr int32_t kMaximumCount = 8;
  static constexpr uint32_t kDefaultForeColor = 0xFF0000;
  static constexpr uint32_t kDefaultBackColor = 0xFFFFFF;

  KivResult GetCount(int32_t* count) override;
  KivResult SetDefaultForeColor(uint32_t colour) override;
  KivResult GetDefaultForeColor(uint32_t* colour) override;
  KivResult SetDefaultBackColor(uint32_t colour) override;
  KivResult GetDefaultBackColor(uint32_t* colour) override;
  KivResult GetByIndex(int32_t index, IKivPriority** priority) override;
  KivResult GetById(int32_t id, IKivPriority** priority) override;
  KivResult GetMaximumCount(int32_t* count) override;
  KivResult Add(int32_t id, IKivPriority** priority) override;
  KivResult Remove(int32_t index) override;

  KivResult SetParentCallback(CPrioritiesParentCallback* parent) override;

 private:
  KivResult SetDefault(uint32_t& field, uint32_t colour);

  uint32_t defaultForeColor_ = kDefaultForeColor;
  uint32_t defaultBackColor_ = kDefaultBackColor;
  std::vector<ComPtr<IKivPriority>> priorities_;
  CPrioritiesParentCallback* parent_ = nullptr;
};

}  // namespace velmar
