#include "writeback/export_write_job.h"

namespace velmar {

KivResult CWriteBackExportJobItemBase::Run() {
  KivResult status = E_FAIL;
  std::u16string_view message = texts_.failed;
  if (!Validate()) {
    message = texts_.invalid;
  } else {
    status = Write();
  }
  if (Failed(status)) SetError(message);
  return status;
}

}  // namespace velmar
