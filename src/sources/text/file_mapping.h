// A read-only view of a whole file mapped into memory, so that a reader sees
// the file's bytes where the system keeps them already, without a heap copy.
//
// A file that another program cuts while it is mapped would fault on every
// page it lost, and the fault would end the process. Those faults are caught:
// each lost page is answered with a page of zeros, the mapping notes that it
// lost pages, and its owner checks `Intact` once it has read what it needs,
// so the reader's answer is "the file changed", never a crash. A page that
// is cut only in part reads zeros behind the new end without any fault;
// `Intact` sees that by the file's size.
#pragma once

#include <cstdint>
#include <memory>
#include <string_view>

#include "sources/text/text_status.h"

namespace velmar {

class FileMapping {
 public:
  // Maps `size` bytes of the open file `fd` (kept open by the caller for as
  // long as Intact is asked). Fails with kReadFailed where the platform
  // cannot map, or when too many mappings are live at once; the caller then
  // reads the file instead.
  static TextStatus Map(int fd, uint64_t size, std::unique_ptr<FileMapping>* out);
  ~FileMapping();
  FileMapping(const FileMapping&) = delete;
  FileMapping& operator=(const FileMapping&) = delete;

  std::string_view view() const { return {static_cast<const char*>(base_), size_}; }
  // Lets the pages wholly inside [begin, end) go from memory; a later read
  // there brings them back from the file. Any thread.
  void Release(size_t begin, size_t end) const;
  // kFileChanged when a page was lost or the file is now shorter than its
  // mapped size; ok otherwise.
  TextStatus Intact() const;

 private:
  FileMapping(int fd, void* base, size_t size, int slot) : fd_(fd), base_(base), size_(size), slot_(slot) {}

  int fd_;
  void* base_;
  size_t size_;
  int slot_;  // in the table the fault handler searches; -1 for an empty file
};

}  // namespace velmar
