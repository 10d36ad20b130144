#include "sources/matfile/matlab_file_handles.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <limits>
#include <new>

#include <sys/file.h>

#include "sources/text/text_format.h"
#include "velmar/text.h"

namespace velmar {
namespace {

constexpr MatInformationName kInformationNames[] = {
    {u"KivDriverName", u"Driver name"},
    {u"KivTrackName", u"Track name"},
    {u"KivCarName", u"Car name"},
    {u"KivShortComment", u"Short comment"},
};
constexpr std::u16string_view kOutingNumbers[] = {u"Session number", u"Outing number", u"First lap number"};
constexpr size_t kOutingFieldAt[] = {1, 5, 9};
constexpr size_t kOutingFieldWidth = 3;

const MatInformationName* TextProperty(std::u16string_view property) {
  for (const auto& entry : kInformationNames) {
    if (entry.property == property) return &entry;
  }
  return nullptr;
}

std::optional<size_t> NumberProperty(std::u16string_view property) {
  for (size_t i = 0; i < std::size(kOutingNumbers); ++i) {
    if (kOutingNumbers[i] == property) return i;
  }
  return std::nullopt;
}

// A field's decimal number: an optional minus, then digits up to the first
// other character; 0 where there are none.
int32_t FieldNumber(std::u16string_view field) {
  size_t i = 0;
  const bool negative = !field.empty() && field[0] == u'-';
  if (negative) ++i;
  int32_t n = 0;
  bool any = false;
  for (; i < field.size() && field[i] >= u'0' && field[i] <= u'9'; ++i) {
    n = n * 10 + (field[i] - u'0');
    any = true;
  }
  return any && negative ? -n : n;
}

int32_t ToNumber(const Variant& value) {
  const double d = value.ToDouble().value_or(0.0);
  if (!(d > std::numeric_limits<int32_t>::min()) || !(d < std::numeric_limits<int32_t>::max())) return 0;
  return static_cast<int32_t>(std::lround(d));
}

}  // namespace

std::span<const MatInformationName> MatInformationNames() { return kInformationNames; }
std::span<const std::u16string_view> MatOutingNumberProperties() { return kOutingNumbers; }

std::optional<std::array<int32_t, 3>> ParseMatOutingText(std::u16string_view text) {
  if (text.size() != kMatOutingEmpty.size()) return std::nullopt;
  std::array<int32_t, 3> numbers{};
  for (size_t i = 0; i < 3; ++i) numbers[i] = FieldNumber(text.substr(kOutingFieldAt[i], kOutingFieldWidth));
  return numbers;
}

void SetMatOutingField(std::u16string* text, size_t index, int32_t number) {
  char buffer[16];
  std::snprintf(buffer, sizeof buffer, number < 0 ? "%.2d" : "%.3d", number);
  const std::u16string digits = AnsiToWide(std::string_view(buffer).substr(0, kOutingFieldWidth));
  text->replace(kOutingFieldAt[index], digits.size(), digits);
}

// --- Open and close -----------------------------------------------------------

CMatlabFileHandles::CMatlabFileHandles(std::filesystem::path path, TextFileOps& ops)
    : path_(std::move(path)), ops_(ops) {}

TextStatus CMatlabFileHandles::Create(const std::filesystem::path& path, TextFileOps& ops) {
  int fd = -1;
  if (auto st = ops.Open(path, FileOpenMode::kCreateNew, &fd); !st.ok()) return st;
  FileHandle handle(&ops, fd);
  TextStatus st = ops.WriteAt(fd, 0, MatHeaderBytes());
  if (st.ok()) st = ops.Sync(fd);
  if (st.ok()) st = ops.Close(handle.Release());
  if (!st.ok()) {
    // Nothing half made stays behind.
    handle.Reset();
    (void)ops.Remove(path);
  }
  return st;
}

TextStatus CMatlabFileHandles::Open(bool writable) {
  Close();
  if (auto st = OpenLockedFile(ops_, path_, writable, &file_); !st.ok()) return st;
  writable_ = writable;
  return Remap();
}

TextStatus CMatlabFileHandles::Remap() {
  if (!IsOpen()) return {TextCode::kNotOpen, "the file is not open"};
  bytes_ = nullptr;
  std::unique_ptr<FileByteSource> source;
  TextStatus st = FileByteSource::Open(ops_, file_.fd(), &source);
  try {
    if (st.ok()) bytes_ = std::make_shared<SourceBytes>();
  } catch (const std::bad_alloc&) {
    st = {TextCode::kOutOfMemory, "no memory for the file"};
  }
  if (st.ok()) st = SourceBytes::Load(*source, bytes_.get());
  if (!st.ok()) Close();
  return st;
}

void CMatlabFileHandles::Close() {
  // A mapping that a load keeps holds the file's open description, and with
  // it the lock, past the close: let the lock go first.
  if (file_.valid()) (void)::flock(file_.fd(), LOCK_UN);
  bytes_ = nullptr;
  file_.Reset();
  writable_ = false;
}

// --- Reading -----------------------------------------------------------------

std::string MatChannelName(std::u16string_view name) {
  std::u16string cut(name.substr(0, std::min(name.size(), kMatWriteNameMax)));
  std::replace(cut.begin(), cut.end(), u' ', u'_');
  return ToFileName(cut);
}

std::vector<std::u16string> CMatlabFileHandles::ChannelNames() const {
  std::vector<std::u16string> names;
  MatWalk walk(bytes());
  while (std::optional<MatElement> element = NextVariable(walk, true)) {
    std::u16string name;
    uint32_t rows = 0;
    std::span<const char> data;
    if (ReadChannelVariable(*element, &name, &rows, &data)) names.push_back(std::move(name));
  }
  return names;
}

// --- Writing -----------------------------------------------------------------

TextStatus CMatlabFileHandles::CheckWritable() const {
  if (!IsOpen()) return {TextCode::kNotOpen, "the file is not open"};
  if (!writable_) return {TextCode::kNotWritable, "the file is open for reading only"};
  return {};
}

TextStatus CMatlabFileHandles::Append(std::string_view bytes) {
  if (auto st = AppendToFile(ops_, file_.fd(), this->bytes().size(), bytes); !st.ok()) return st;
  return Remap();
}

TextStatus CMatlabFileHandles::WriteChannel(const MatChannelData& channel) {
  if (auto st = CheckWritable(); !st.ok()) return st;
  const size_t n = channel.times.size();
  if (channel.values.size() != n) return {TextCode::kInvalidArgument, "times and values differ in count"};
  const std::string name = MatChannelName(channel.name);
  // The element's size field is 32 bits wide.
  if (n > (std::numeric_limits<uint32_t>::max() - 48 - 40) / 16) {
    return {TextCode::kInvalidArgument, "too many samples for one variable"};
  }
  std::string element;
  try {
    element = MatChannelHead(name, static_cast<uint32_t>(n));
    const size_t head = element.size();
    element.resize(head + 16 * n);
    auto* out = reinterpret_cast<double*>(element.data() + head);
    for (size_t i = 0; i < n; ++i) out[i] = static_cast<double>(channel.times[i]) / 1e7;
    std::memcpy(out + n, channel.values.data(), n * sizeof(double));
  } catch (const std::bad_alloc&) {
    return {TextCode::kOutOfMemory, "no memory for the channel variable"};
  }
  return Append(element);
}

TextStatus CMatlabFileHandles::WriteStringVariable(std::u16string_view name, std::u16string_view value) {
  if (auto st = CheckWritable(); !st.ok()) return st;
  return Append(MatStringVariable(ToFileName(name), value));
}

TextStatus CMatlabFileHandles::WriteInformation(const PropertyList& properties) {
  if (auto st = CheckWritable(); !st.ok()) return st;
  if (auto st = Remap(); !st.ok()) return st;
  std::vector<std::u16string> replaced;
  std::string added;
  // The numbers not given keep the file's own: its first "KivOuting" is the start.
  std::u16string outing(kMatOutingEmpty);
  bool anyNumber = false;
  try {
    MatWalk walk(bytes());
    while (std::optional<MatElement> element = NextVariable(walk, false)) {
      std::u16string name, value;
      if (ReadInformationVariable(*element, &name, &value) && name == kMatOutingVariable) {
        if (value.size() == kMatOutingEmpty.size()) outing = value;
        break;
      }
    }
    for (const Property& property : properties) {
      if (const MatInformationName* entry = TextProperty(property.name)) {
        replaced.emplace_back(entry->variable);
        added += MatStringVariable(ToFileName(entry->variable), property.value.ToText());
      } else if (std::optional<size_t> field = NumberProperty(property.name)) {
        SetMatOutingField(&outing, *field, ToNumber(property.value));
        anyNumber = true;
      }
    }
    if (anyNumber) {
      replaced.emplace_back(kMatOutingVariable);
      added += MatStringVariable(ToFileName(kMatOutingVariable), outing);
    }
  } catch (const std::bad_alloc&) {
    return {TextCode::kOutOfMemory, "no memory for the information"};
  }
  if (replaced.empty()) return {};
  return Rewrite(replaced, added);
}

TextStatus CMatlabFileHandles::Rewrite(std::span<const std::u16string> replaced, std::string_view added) {
  // Never write back bytes of a file that was cut under the read.
  if (auto st = Intact(); !st.ok()) return st;
  std::string contents;
  try {
    contents = MatHeaderBytes();
    std::string information;
    MatWalk walk(bytes());
    while (std::optional<MatElement> element = walk.Next()) {
      const std::string_view raw = bytes().substr(element->offset, element->length);
      MatVariable v;
      if (!ReadMatVariable(raw, &v) || !IsMatInformation(v)) {
        contents.append(raw);
        continue;
      }
      const std::u16string name = AnsiToWide(v.name);
      if (std::find(replaced.begin(), replaced.end(), name) == replaced.end()) {
        information += MatStringVariable(v.name, MatInformationText(v));
      }
    }
    contents += information;
    contents.append(added);
  } catch (const std::bad_alloc&) {
    return {TextCode::kOutOfMemory, "no memory for the new file"};
  }
  FileHandle replacement;
  TextStatus st = ReplaceFile(ops_, path_, contents, &replacement);
  // The new file may stand even when only its folder sync failed: hold it.
  if (replacement.valid()) file_ = std::move(replacement);
  if (!st.ok()) {
    if (file_.valid()) (void)Remap();
    return st;
  }
  return Remap();
}

}  // namespace velmar
