#include "sources/spreadsheet/workbook_file.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include "sources/spreadsheet/workbook_write.h"
#include "velmar/text.h"

namespace velmar {
namespace {

KivResult WorkbookBytes(const std::filesystem::path& path, const Workbook& workbook, std::string* bytes) {
  return IsXlsPath(path) ? XlsWorkbookBytes(workbook, bytes) : XlsxWorkbookBytes(workbook, bytes);
}

}  // namespace

bool IsXlsPath(const std::filesystem::path& path) {
  return EqualsNoCase(Utf8ToWide(path.extension().string()), u".xls");
}

CWorkbookFile::CWorkbookFile(std::filesystem::path path, FileOps& ops) : path_(std::move(path)), ops_(ops) {}

KivResult CWorkbookFile::Create(const std::filesystem::path& path, std::span<const std::u16string_view> sheets,
                                FileOps& ops) {
  std::error_code error;
  const std::filesystem::path folder = path.parent_path();
  if (!folder.empty() && !std::filesystem::is_directory(folder, error)) return STG_E_PATHNOTFOUND;
  Workbook workbook;
  for (std::u16string_view name : sheets) workbook.sheets().push_back({std::u16string(name), {}, false});
  std::string bytes;
  if (const KivResult r = WorkbookBytes(path, workbook, &bytes); Failed(r)) return r;
  return ReplaceFileAtomically(ops, path, bytes);
}

KivResult CWorkbookFile::Open() {
  Close();
  struct stat st {};
  if (::stat(path_.c_str(), &st) != 0) return STG_E_FILENOTFOUND;
  // Read-only as the file's own flag says, whoever runs us (root too).
  if ((st.st_mode & (S_IWUSR | S_IWGRP | S_IWOTH)) == 0) return STG_E_ACCESSDENIED;
  if (const KivResult r = Lock(); Failed(r)) return r;
  Workbook read;
  if (const KivResult r = ReadWorkbook(path_, &read); Failed(r)) {
    Close();
    return r;
  }
  workbook_ = std::move(read);
  return S_OK;
}

KivResult CWorkbookFile::Lock() {
  const int fd = ::open(path_.c_str(), O_RDWR | O_CLOEXEC);
  if (fd < 0) return errno == ENOENT ? STG_E_FILENOTFOUND : STG_E_ACCESSDENIED;
  if (::flock(fd, LOCK_EX | LOCK_NB) != 0) {
    ::close(fd);
    return STG_E_SHAREVIOLATION;
  }
  lockFd_ = fd;
  return S_OK;
}

void CWorkbookFile::Close() {
  if (lockFd_ >= 0) ::close(lockFd_);
  lockFd_ = -1;
  workbook_ = Workbook();
}

KivResult CWorkbookFile::SetRange(size_t sheet, CellRef topLeft, const CellBlock& block) {
  if (sheet >= workbook_.sheets().size()) return E_INVALIDARG;
  auto& cells = workbook_.sheets()[sheet].cells;
  for (size_t row = 0; row < block.rows; ++row) {
    for (size_t column = 0; column < block.columns; ++column) {
      const CellRef ref{topLeft.row + static_cast<uint32_t>(row), topLeft.column + static_cast<uint32_t>(column)};
      const WorkbookCell& cell = block.cells[row * block.columns + column];
      if (cell.kind == WorkbookCell::Kind::kEmpty) {
        cells.erase(ref);
      } else {
        cells.insert_or_assign(cells.end(), ref, cell);  // rows mostly arrive in order
      }
    }
  }
  return S_OK;
}

KivResult CWorkbookFile::Save() {
  if (!IsOpen()) return E_UNEXPECTED;
  std::string bytes;
  if (const KivResult r = WorkbookBytes(path_, workbook_, &bytes); Failed(r)) return r;
  if (const KivResult r = ReplaceFileAtomically(ops_, path_, bytes); Failed(r)) return r;
  // The lock was on the file the rename replaced: take the new one's.
  ::close(lockFd_);
  lockFd_ = -1;
  return Lock();
}

}  // namespace velmar
