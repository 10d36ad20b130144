// CMatlabFileHandles: the reader and the writer of one MAT-file data set. It
// holds the file open and exclusively locked from Open to Close with its
// bytes mapped, walks its variables, appends channels and information (cut
// back to the old end on failure), and rewrites it for new information by a
// new file renamed over the old one, so a failed write never costs the file.
//
// Not thread-safe: one job uses it at a time, on "Matlab_Thread".
#pragma once

#include <array>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "sources/matfile/mat_layout.h"
#include "sources/text/byte_source.h"
#include "sources/text/text_file_ops.h"
#include "velmar/property_set.h"
#include "velmar/types.h"

namespace velmar {

// One channel to write: its name as the outing knows it, times relative to
// the written zero, and the values as they are to be stored.
struct MatChannelData {
  std::u16string name;
  std::span<const KivTime> times;
  std::span<const double> values;
};

// "KivOuting": session, outing and first lap in one 13-character text.
inline constexpr std::u16string_view kMatOutingVariable = u"KivOuting";
inline constexpr std::u16string_view kMatOutingEmpty = u"<---:---:--->";

// The variable names of the information properties, and the property each fills.
struct MatInformationName {
  std::u16string_view variable;
  std::u16string_view property;
};
std::span<const MatInformationName> MatInformationNames();
// The three numbers "KivOuting" carries, in their order in the text.
std::span<const std::u16string_view> MatOutingNumberProperties();

// The three numbers of a "KivOuting" text (0 for a field that holds no
// number); nothing for a text that is not 13 characters long.
std::optional<std::array<int32_t, 3>> ParseMatOutingText(std::u16string_view text);
// `text` with field `index` (0..2) set to `number`: "%.3d", or "%.2d" when
// negative, of which the first three characters are kept.
void SetMatOutingField(std::u16string* text, size_t index, int32_t number);

// The name a channel is written under: at most 31 characters, blanks and
// characters the ANSI code page cannot hold as "_".
std::string MatChannelName(std::u16string_view name);

class CMatlabFileHandles {
 public:
  explicit CMatlabFileHandles(std::filesystem::path path, TextFileOps& ops = DefaultTextFileOps());
  CMatlabFileHandles(const CMatlabFileHandles&) = delete;
  CMatlabFileHandles& operator=(const CMatlabFileHandles&) = delete;
  ~CMatlabFileHandles() { Close(); }

  // The create job's work: a new file (one at path fails) of the header alone.
  static TextStatus Create(const std::filesystem::path& path, TextFileOps& ops = DefaultTextFileOps());

  // Opens with no sharing (kFileLocked when another handle holds the file);
  // the file must exist. Maps its bytes.
  TextStatus Open(bool writable);
  // Maps the held file again, at its size now.
  TextStatus Remap();
  void Close();

  bool IsOpen() const { return file_.valid(); }
  std::string_view bytes() const { return bytes_ ? bytes_->view() : std::string_view(); }
  // Whether the mapped bytes are still the file's (see FileMapping).
  TextStatus Intact() const { return bytes_ ? bytes_->Intact() : TextStatus(); }
  // What keeps bytes() where they are, after a Remap or Close too.
  std::shared_ptr<const void> bytes_owner() const { return bytes_; }

  // The next element of the walk that fits the kind (a channel, or else
  // information) and reads as one; `walk` carries the position.
  std::optional<MatElement> NextVariable(MatWalk& walk, bool wantChannel) const {
    return NextMatVariable(bytes(), walk, wantChannel);
  }
  bool ReadInformationVariable(const MatElement& element, std::u16string* name, std::u16string* value) const {
    return ReadMatInformationVariable(bytes(), element, name, value);
  }
  // `data`: the 2 x rows doubles, times then values.
  bool ReadChannelVariable(const MatElement& element, std::u16string* name, uint32_t* rows,
                           std::span<const char>* data) const {
    return ReadMatChannelVariable(bytes(), element, name, rows, data);
  }
  // The names of the file's channel variables, in file order.
  std::vector<std::u16string> ChannelNames() const;

  // Writers; each leaves the file mapped again. kNotOpen / kNotWritable when
  // the file is not open for writing.
  TextStatus WriteChannel(const MatChannelData& channel);
  TextStatus WriteStringVariable(std::u16string_view name, std::u16string_view value);
  // The properties of the table, in the list's order; others are passed over.
  TextStatus WriteInformation(const PropertyList& properties);

 private:
  TextStatus CheckWritable() const;
  TextStatus Append(std::string_view bytes);
  // The file again: the header, every element that is not information, the
  // information variables whose names are not in `replaced`, then `added`.
  TextStatus Rewrite(std::span<const std::u16string> replaced, std::string_view added);

  std::filesystem::path path_;
  TextFileOps& ops_;
  FileHandle file_;
  bool writable_ = false;
  std::shared_ptr<SourceBytes> bytes_;  // shared with what a load keeps of them
};

}  // namespace velmar
