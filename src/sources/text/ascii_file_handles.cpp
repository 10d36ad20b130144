#include "sources/text/ascii_file_handles.h"

#include <algorithm>
#include <new>

#include "sources/text/text_reader.h"

namespace velmar {

CAsciiFileHandles::CAsciiFileHandles(std::filesystem::path path, TextFileOps& ops) : path_(std::move(path)), ops_(ops) {}

TextStatus CAsciiFileHandles::Create(const std::filesystem::path& path, TextFileOps& ops) {
  return ReplaceFile(ops, path, NewFileBytes());
}

TextStatus CAsciiFileHandles::Open(bool writable) {
  Close();
  if (auto st = OpenLockedFile(ops_, path_, writable, &file_); !st.ok()) return st;
  writable_ = writable;
  return Reload();
}

void CAsciiFileHandles::Close() {
  file_.Reset();
  writable_ = false;
  bytes_ = SourceBytes();
  index_ = TextIndex();
}

TextStatus CAsciiFileHandles::Reload() {
  if (!IsOpen()) return {TextCode::kNotOpen, "the file is not open"};
  bytes_ = SourceBytes();
  index_ = TextIndex();
  std::unique_ptr<FileByteSource> source;
  TextStatus st = FileByteSource::Open(ops_, file_.fd(), &source);
  if (st.ok()) st = SourceBytes::Load(*source, &bytes_);
  if (st.ok()) st = OpenIndex(bytes_.view(), {}, &index_);
  if (st.ok()) st = bytes_.Intact();
  if (!st.ok()) Close();
  return st;
}

std::vector<TextInfoEntry> CAsciiFileHandles::ReadInformation(const ProblemSink& problems) const {
  return velmar::ReadInformation(bytes(), index_, problems);
}

TextStatus CAsciiFileHandles::ReadChannels(std::vector<TextColumn>* out, const ChannelReadOptions& options,
                                           const ProblemSink& problems) const {
  if (!IsOpen()) return {TextCode::kNotOpen, "the file is not open"};
  // The rows' pages are let go as they are read: the samples take their place.
  return velmar::ReadChannels(bytes(), index_, options, problems, out,
                              [this](size_t begin, size_t end) { bytes_.Release(begin, end); });
}

std::vector<TextEvent> CAsciiFileHandles::ReadEvents(const ProblemSink& problems) const {
  return velmar::ReadEvents(bytes(), index_, problems);
}

std::vector<TextConstant> CAsciiFileHandles::ReadConstants(const ProblemSink& problems) const {
  return velmar::ReadConstants(bytes(), index_, problems);
}

bool CAsciiFileHandles::HasConstant(std::u16string_view name) const {
  auto constants = ReadConstants();
  return std::any_of(constants.begin(), constants.end(), [&](const TextConstant& c) { return c.name == name; });
}

bool CAsciiFileHandles::HasEvent(const TextEvent& event) const { return velmar::HasEvent(ReadEvents(), event); }

TextStatus CAsciiFileHandles::CheckWritable() const {
  if (!IsOpen()) return {TextCode::kNotOpen, "the file is not open"};
  if (!writable_) return {TextCode::kNotWritable, "the file is open for reading only"};
  return {};
}

TextStatus CAsciiFileHandles::Append(std::string&& block) {
  const TextStatus written = AppendToFile(ops_, file_.fd(), bytes().size(), block);
  std::string().swap(block);
  if (!written.ok()) return written;
  return Reload();
}

TextStatus CAsciiFileHandles::Replace(std::string_view contents) {
  FileHandle replacement;
  if (auto st = ReplaceFile(ops_, path_, contents, &replacement); !st.ok()) {
    // The new file may stand even so (only its folder sync failed): hold it.
    if (replacement.valid()) {
      file_ = std::move(replacement);
      (void)Reload();
    }
    return st;
  }
  file_ = std::move(replacement);  // the old file's handle and lock go with it
  return Reload();
}

TextStatus CAsciiFileHandles::WriteChannel(const TextChannelData& channel, KivTime base) {
  if (auto st = CheckWritable(); !st.ok()) return st;
  std::string block;
  try {
    if (auto st = AppendChannelBlock(block, channel, base); !st.ok()) return st;
  } catch (const std::bad_alloc&) {
    return {TextCode::kOutOfMemory, "no memory for the channel block"};
  }
  return Append(std::move(block));
}

TextStatus CAsciiFileHandles::WriteChannelGroup(std::span<const TextGroupChannel> channels, KivTime base) {
  if (auto st = CheckWritable(); !st.ok()) return st;
  std::string block;
  try {
    if (auto st = AppendChannelGroupBlock(block, channels, base); !st.ok()) return st;
  } catch (const std::bad_alloc&) {
    return {TextCode::kOutOfMemory, "no memory for the channel block"};
  }
  return Append(std::move(block));
}

template <class Rewrite>
TextStatus CAsciiFileHandles::RewriteWith(Rewrite&& rewrite) {
  if (auto st = CheckWritable(); !st.ok()) return st;
  std::string contents;
  try {
    if (auto st = rewrite(&contents); !st.ok()) return st;
  } catch (const std::bad_alloc&) {
    return {TextCode::kOutOfMemory, "no memory for the new file"};
  }
  // Never write back bytes of a file that was cut under the read.
  if (auto st = Intact(); !st.ok()) return st;
  return Replace(contents);
}

TextStatus CAsciiFileHandles::WriteInformation(std::span<const InformationProperty> properties) {
  return RewriteWith([&](std::string* out) { return RewriteInformation(bytes(), index_, properties, out); });
}

TextStatus CAsciiFileHandles::AddEvents(std::span<const TextEvent> events, KivTime base) {
  return RewriteWith([&](std::string* out) { return RewriteEvents(bytes(), index_, events, base, {}, out); });
}

TextStatus CAsciiFileHandles::RemoveEvents(std::span<const TextEvent> events) {
  return RewriteWith([&](std::string* out) { return RewriteEvents(bytes(), index_, {}, 0, events, out); });
}

TextStatus CAsciiFileHandles::WriteConstant(ConstantEdit kind, const TextConstant& constant) {
  return RewriteWith([&](std::string* out) { return RewriteConstant(bytes(), index_, kind, constant, out); });
}

}  // namespace velmar
