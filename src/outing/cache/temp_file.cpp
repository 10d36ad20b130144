#include "outing/cache/temp_file.h"

#include <fcntl.h>
#include <stdlib.h>
#include <unistd.h>

#include <cerrno>
#include <string>
#include <utility>
#include <vector>

#include "velmar/text.h"

namespace velmar {

std::optional<CTempFile> CTempFile::Create(const std::filesystem::path& folder, std::string_view prefix) {
  std::string pattern = (folder / (std::string(prefix) + "XXXXXX")).string();
  std::vector<char> name(pattern.begin(), pattern.end());
  name.push_back('\0');
  int fd;
  do {
    fd = mkostemp(name.data(), O_CLOEXEC);
  } while (fd < 0 && errno == EINTR);
  if (fd < 0) return std::nullopt;
  return CTempFile(std::filesystem::path(name.data()), fd);
}

CTempFile::CTempFile(CTempFile&& other) noexcept
    : path_(std::move(other.path_)), fd_(std::exchange(other.fd_, -1)) {}

CTempFile& CTempFile::operator=(CTempFile&& other) noexcept {
  if (this != &other) {
    Close();
    path_ = std::move(other.path_);
    fd_ = std::exchange(other.fd_, -1);
  }
  return *this;
}

CTempFile::~CTempFile() { Close(); }

void CTempFile::Close() {
  if (fd_ < 0) return;
  (void)::close(std::exchange(fd_, -1));
  std::error_code ec;
  std::filesystem::remove(path_, ec);
}

std::filesystem::path FolderOf(std::u16string_view dataSetPath) {
  std::filesystem::path folder = std::filesystem::path(WideToUtf8(dataSetPath)).parent_path();
  return folder.empty() ? std::filesystem::path(".") : folder;
}

bool CanCreateDataSetIn(std::u16string_view dataSetPath) {
  return CTempFile::Create(FolderOf(dataSetPath), "kiv").has_value();
}

}  // namespace velmar
