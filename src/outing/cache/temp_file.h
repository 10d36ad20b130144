// Temporary files in a given folder, and the test that a folder can be
// written before a data set is made there.
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace velmar {

// A new file with a unique name `<prefix>XXXXXX` in a folder, open for
// reading and writing; deleted when this goes (or at Close).
class CTempFile {
 public:
  // Nothing when the file cannot be made there.
  static std::optional<CTempFile> Create(const std::filesystem::path& folder, std::string_view prefix);

  CTempFile(CTempFile&& other) noexcept;
  CTempFile& operator=(CTempFile&& other) noexcept;
  CTempFile(const CTempFile&) = delete;
  CTempFile& operator=(const CTempFile&) = delete;
  ~CTempFile();

  // Closes and deletes the file.
  void Close();
  const std::filesystem::path& path() const { return path_; }
  int fd() const { return fd_; }

 private:
  CTempFile(std::filesystem::path path, int fd) : path_(std::move(path)), fd_(fd) {}

  std::filesystem::path path_;
  int fd_ = -1;
};

// The folder part of a data set path: what lies before the last separator,
// "." for a bare file name.
std::filesystem::path FolderOf(std::u16string_view dataSetPath);

// Whether a new file can be made in the folder of `dataSetPath`: makes a
// temporary file with the prefix "kiv" there and deletes it at once.
bool CanCreateDataSetIn(std::u16string_view dataSetPath);

}  // namespace velmar
