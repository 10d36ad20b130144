#include "jobs/job_item.h"

#include <cstdio>
#include <exception>

#include "jobs/state_machine.h"

namespace velmar {

void CJobItem::WTRun() {
  KivResult r = E_FAIL;
  try {
    r = Run();
  } catch (const std::exception& e) {
    std::fprintf(stderr, "velmar: a job failed with an exception: %s\n", e.what());
  } catch (...) {
    std::fprintf(stderr, "velmar: a job failed with a non-standard exception\n");
  }
  status_ = r;
}

uint32_t CJobItem::AddRef() { return refs_.fetch_add(1, std::memory_order_relaxed) + 1; }

uint32_t CJobItem::Release() {
  uint32_t n = refs_.fetch_sub(1, std::memory_order_acq_rel) - 1;
  if (n == 0) delete this;
  return n;
}

CJobItemEx::CJobItemEx(CStateMachineEx* owner) : owner_(owner) {}

// Out of line: the owner's type must be complete to release it.
CJobItemEx::~CJobItemEx() = default;

void CJobItemEx::Completed() {
  if (owner_) owner_->JobCompleted(this);
}

}  // namespace velmar
