#include "platform/store/tarn_file.h"

namespace velmar::store {

ReadScope::ReadScope(TarnFile& file, uint32_t waitLimit) : file_(file) {
  status_ = file.status();
  if (Failed(status_)) return;
  file.db().SetWaitLimit(waitLimit);
  if (file.db().InTransaction()) return;
  status_ = file.db().Exec("BEGIN");
  began_ = Succeeded(status_);
}

ReadScope::~ReadScope() {
  if (began_ && file_.db().InTransaction()) (void)file_.db().Exec("COMMIT");
}

}  // namespace velmar::store
