#include "sources/text/file_mapping.h"

#include <signal.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstring>
#include <mutex>
#include <string>

namespace velmar {
namespace {

// The live mappings, as the fault handler sees them. Lock-free atomics only:
// the handler may run on any thread, inside any code.
struct Slot {
  std::atomic<bool> used{false};
  std::atomic<uintptr_t> begin{0};
  std::atomic<uintptr_t> end{0};
  std::atomic<bool> lost{false};
};
constexpr int kSlots = 64;
Slot gSlots[kSlots];
uintptr_t gPageSize = 4096;
struct sigaction gPrevious {};

// Passes a fault that is not ours on as the handler before us would have.
void PassOn(int sig, siginfo_t* info, void* context) {
  if (gPrevious.sa_flags & SA_SIGINFO) {
    if (gPrevious.sa_sigaction) gPrevious.sa_sigaction(sig, info, context);
    return;
  }
  if (gPrevious.sa_handler != SIG_DFL && gPrevious.sa_handler != SIG_IGN) {
    gPrevious.sa_handler(sig);
    return;
  }
  // The default: the faulting access runs again and ends the process.
  struct sigaction dfl {};
  dfl.sa_handler = SIG_DFL;
  sigemptyset(&dfl.sa_mask);
  (void)::sigaction(sig, &dfl, nullptr);
}

void OnBusError(int sig, siginfo_t* info, void* context) {
  const auto addr = reinterpret_cast<uintptr_t>(info->si_addr);
  for (Slot& slot : gSlots) {
    if (addr < slot.begin.load(std::memory_order_acquire) || addr >= slot.end.load(std::memory_order_acquire)) continue;
    // A page of zeros where the file's page was; the access then goes on.
    void* page = reinterpret_cast<void*>(addr & ~(gPageSize - 1));
    const int savedErrno = errno;  // the interrupted code may be reading it
    const bool mapped =
        ::mmap(page, gPageSize, PROT_READ, MAP_PRIVATE | MAP_ANONYMOUS | MAP_FIXED, -1, 0) != MAP_FAILED;
    errno = savedErrno;
    if (!mapped) break;
    slot.lost.store(true, std::memory_order_release);
    return;
  }
  PassOn(sig, info, context);
}

bool InstallHandler() {
  static const bool installed = [] {
    gPageSize = static_cast<uintptr_t>(::sysconf(_SC_PAGESIZE));
    struct sigaction action {};
    action.sa_sigaction = OnBusError;
    action.sa_flags = SA_SIGINFO | SA_ONSTACK;
    sigemptyset(&action.sa_mask);
    return ::sigaction(SIGBUS, &action, &gPrevious) == 0;
  }();
  return installed;
}

int TakeSlot(uintptr_t begin, uintptr_t end) {
  for (int i = 0; i < kSlots; ++i) {
    bool expected = false;
    if (!gSlots[i].used.compare_exchange_strong(expected, true)) continue;
    gSlots[i].lost.store(false);
    // Begin first, end last: a slot half set or half freed matches nothing.
    gSlots[i].begin.store(begin, std::memory_order_release);
    gSlots[i].end.store(end, std::memory_order_release);
    return i;
  }
  return -1;
}

void FreeSlot(int i) {
  gSlots[i].end.store(0, std::memory_order_release);
  gSlots[i].begin.store(0, std::memory_order_release);
  gSlots[i].used.store(false, std::memory_order_release);
}

}  // namespace

TextStatus FileMapping::Map(int fd, uint64_t size, std::unique_ptr<FileMapping>* out) {
  if (size == 0) {
    out->reset(new FileMapping(fd, nullptr, 0, -1));
    return {};
  }
  if (size > SIZE_MAX / 2 || !InstallHandler()) return {TextCode::kReadFailed, "the file cannot be mapped"};
  // Populated at once: the reader walks every byte, and one call costs less
  // than a fault per few pages.
  void* base = ::mmap(nullptr, static_cast<size_t>(size), PROT_READ, MAP_PRIVATE | MAP_POPULATE, fd, 0);
  if (base == MAP_FAILED) return {TextCode::kReadFailed, std::string("cannot map the file: ") + std::strerror(errno)};
  const auto begin = reinterpret_cast<uintptr_t>(base);
  const int slot = TakeSlot(begin, begin + static_cast<uintptr_t>(size));
  if (slot < 0) {
    ::munmap(base, static_cast<size_t>(size));
    return {TextCode::kReadFailed, "too many files mapped at once"};
  }
  out->reset(new FileMapping(fd, base, static_cast<size_t>(size), slot));
  return {};
}

FileMapping::~FileMapping() {
  if (slot_ < 0) return;
  FreeSlot(slot_);
  ::munmap(base_, size_);
}

void FileMapping::Release(size_t begin, size_t end) const {
  if (slot_ < 0 || end > size_) return;
  const auto base = reinterpret_cast<uintptr_t>(base_);
  const uintptr_t from = (base + begin + gPageSize - 1) & ~(gPageSize - 1);
  const uintptr_t to = (base + end) & ~(gPageSize - 1);
  if (to > from) (void)::madvise(reinterpret_cast<void*>(from), to - from, MADV_DONTNEED);
}

TextStatus FileMapping::Intact() const {
  const bool lost = slot_ >= 0 && gSlots[slot_].lost.load(std::memory_order_acquire);
  struct stat st {};
  if (lost || ::fstat(fd_, &st) != 0 || static_cast<uint64_t>(st.st_size) < size_)
    return {TextCode::kFileChanged, "the file was cut while it was read"};
  return {};
}

}  // namespace velmar
