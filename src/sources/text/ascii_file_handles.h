// CAsciiFileHandles: the reader and the writer of one text data set file in
// one object. It holds the file open and exclusively locked from Open to
// Close, keeps the file's bytes and their index, and writes through TextFileOps:
// appends in place (cut back on failure), rewrites by a new file renamed over
// the old, so a failed write never costs the file its contents.
// Not thread-safe: one job uses it at a time, on the source's worker thread.
#pragma once

#include <filesystem>
#include <span>
#include <string>
#include <vector>

#include "sources/text/byte_source.h"
#include "sources/text/channel_reader.h"
#include "sources/text/text_file_ops.h"
#include "sources/text/text_rewrite.h"
#include "sources/text/text_scan.h"
#include "sources/text/text_status.h"
#include "sources/text/text_structures.h"
#include "sources/text/text_writer.h"

namespace velmar {

class CAsciiFileHandles {
 public:
  explicit CAsciiFileHandles(std::filesystem::path path, TextFileOps& ops = DefaultTextFileOps());
  CAsciiFileHandles(const CAsciiFileHandles&) = delete;
  CAsciiFileHandles& operator=(const CAsciiFileHandles&) = delete;
  ~CAsciiFileHandles() { Close(); }

  // What the create job does: writes the empty file of the format (replacing
  // any file at path).
  static TextStatus Create(const std::filesystem::path& path, TextFileOps& ops = DefaultTextFileOps());

  // Opens with no sharing (kFileLocked when another handle holds the file),
  // reads the file, checks the magic and scans it.
  TextStatus Open(bool writable);
  // Forgets the bytes and index and closes the file.
  void Close();
  // Reads the held file again and scans it; a failure closes the file too.
  TextStatus Reload();

  bool IsOpen() const { return file_.valid(); }
  bool IsWritable() const { return IsOpen() && writable_; }
  const std::filesystem::path& path() const { return path_; }
  std::string_view bytes() const { return bytes_.view(); }
  // Whether the bytes read are still the file's: kFileChanged when another
  // program cut the mapped file since it was opened (see FileMapping).
  TextStatus Intact() const { return bytes_.Intact(); }
  const TextIndex& index() const { return index_; }

  // Readers of the open file; empty when it is not open.
  std::vector<TextInfoEntry> ReadInformation(const ProblemSink& problems = {}) const;
  TextStatus ReadChannels(std::vector<TextColumn>* out, const ChannelReadOptions& options = {},
                          const ProblemSink& problems = {}) const;
  std::vector<TextEvent> ReadEvents(const ProblemSink& problems = {}) const;
  std::vector<TextConstant> ReadConstants(const ProblemSink& problems = {}) const;
  bool HasConstant(std::u16string_view name) const;
  bool HasEvent(const TextEvent& event) const;  // same time, name and source

  // Writers; each leaves the file reloaded. kNotOpen / kNotWritable when the
  // file is not open for writing.
  TextStatus WriteChannel(const TextChannelData& channel, KivTime base);
  TextStatus WriteChannelGroup(std::span<const TextGroupChannel> channels, KivTime base);
  TextStatus WriteInformation(std::span<const InformationProperty> properties);
  TextStatus AddEvents(std::span<const TextEvent> events, KivTime base);
  TextStatus RemoveEvents(std::span<const TextEvent> events);
  TextStatus WriteConstant(ConstantEdit kind, const TextConstant& constant);

 private:
  TextStatus CheckWritable() const;
  // Writes `block` at the end, lets go of it, then reads the file again (so
  // the block and the file's new bytes are not both held).
  TextStatus Append(std::string&& block);
  TextStatus Replace(std::string_view contents);
  // Builds the new file with rewrite and puts it in place.
  template <class Rewrite>
  TextStatus RewriteWith(Rewrite&& rewrite);

  std::filesystem::path path_;
  TextFileOps& ops_;
  FileHandle file_;
  bool writable_ = false;
  SourceBytes bytes_;
  TextIndex index_;
};

}  // namespace velmar
