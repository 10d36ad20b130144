// An SQLite VFS that forwards to the default one and, when armed, makes
// file writes, syncs and truncations fail with an I/O error: the store's
// seam for tests of what a failing disk leaves behind.
//
// Thread-safety: arming and disarming may happen on any thread.
#pragma once

#include <atomic>
#include <cstdint>

namespace velmar::store {

class FaultVfs {
 public:
  // Registers the VFS on first use (not as the default one).
  static FaultVfs& Get();
  // The name to open files with (StoreOptions::vfs).
  static constexpr const char* kName = "velmar-fault";

  // Lets `okCalls` more writes, syncs and truncations through, then fails
  // every one of them until Disarm.
  void FailAfter(int64_t okCalls);
  void Disarm();
  // How many calls have failed since the last FailAfter.
  int64_t failures() const { return failures_.load(); }

  // For the VFS's file methods: true when this call must fail.
  bool ShouldFail();

 private:
  FaultVfs() = default;
  std::atomic<bool> armed_{false};
  std::atomic<int64_t> budget_{0};
  std::atomic<int64_t> failures_{0};
};

}  // namespace velmar::store
