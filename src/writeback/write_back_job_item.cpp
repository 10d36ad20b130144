#include "writeback/write_back_job_item.h"

namespace velmar {

void CWriteBackJobItem::SetError(std::u16string_view message, std::u16string_view argument) {
  std::u16string text(message);
  if (size_t at = text.find(u"%s"); at != std::u16string::npos) text.replace(at, 2, argument);
  error_ = std::move(text);
}

KivResult CWriteBackJobItem::Fail(std::u16string_view message) {
  SetError(message);
  return E_FAIL;
}

}  // namespace velmar
