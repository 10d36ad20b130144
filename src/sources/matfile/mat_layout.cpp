#include "sources/matfile/mat_layout.h"

#include <algorithm>
#include <bit>
#include <cstdio>
#include <cstring>

#include "velmar/text.h"

namespace velmar {

static_assert(std::endian::native == std::endian::little, "MAT-file bytes are copied as they lie");

namespace {

constexpr size_t kTagSize = 8;
// Offsets inside a matrix element, from its tag.
constexpr size_t kFlagsAt = 16;
constexpr size_t kDimsTagAt = 24;
constexpr size_t kRowsAt = 32;
constexpr size_t kNameTagAt = 40;
constexpr size_t kNameAt = 48;
constexpr size_t kSmallNameAt = 44;

constexpr uint64_t Padded(uint64_t n) { return (n + 7) & ~uint64_t{7}; }

void PutU32(std::string& out, uint32_t v) {
  char b[4];
  std::memcpy(b, &v, 4);
  out.append(b, 4);
}

void PutTag(std::string& out, uint32_t type, uint32_t size) {
  PutU32(out, type);
  PutU32(out, size);
}

void PadTo8(std::string& out) { out.append(Padded(out.size()) - out.size(), '\0'); }

std::string_view Cut(std::string_view s, size_t max) { return s.substr(0, std::min(s.size(), max)); }

// The head shared by both written kinds, from the matrix tag to the data tag
// included. `body` is what follows the data tag, its padding included.
std::string MatrixHead(std::string_view name, uint8_t arrayClass, uint32_t rows, uint32_t columns, uint32_t dataType,
                       uint32_t dataBytes, uint64_t body) {
  const uint32_t nameTag = std::max<uint32_t>(static_cast<uint32_t>(name.size()), kMatNameTagMin);
  const uint64_t size = 48 + Padded(nameTag) + body;
  std::string out;
  out.reserve(kNameAt + Padded(nameTag) + kTagSize);
  PutTag(out, kMiMatrix, static_cast<uint32_t>(size));
  PutTag(out, kMiUint32, 8);
  PutU32(out, arrayClass);
  PutU32(out, 0);
  PutTag(out, kMiInt32, 8);
  PutU32(out, rows);
  PutU32(out, columns);
  PutTag(out, kMiInt8, nameTag);
  out.append(name);
  out.append(nameTag - name.size(), '\0');
  PadTo8(out);
  PutTag(out, dataType, dataBytes);
  return out;
}

}  // namespace

uint32_t MatU32(std::string_view bytes, size_t offset) {
  uint32_t v = 0;
  std::memcpy(&v, bytes.data() + offset, 4);
  return v;
}

std::string MatHeaderBytes() {
  char text[kMatHeaderSize];
  std::snprintf(text, sizeof text, "%-123s", std::string(kMatHeaderText).c_str());
  std::string out(text, 123);
  out.push_back(' ');
  const uint16_t version = 0x0100;
  const uint16_t endian = 19785;  // 'I' 'M' as it lies in the file
  out.append(reinterpret_cast<const char*>(&version), 2);
  out.append(reinterpret_cast<const char*>(&endian), 2);
  return out;
}

std::optional<MatElement> MatWalk::Next() {
  if (pos_ == 0) pos_ = kMatHeaderSize;
  if (pos_ >= bytes_.size() || bytes_.size() - pos_ < kTagSize) return std::nullopt;
  if (MatU32(bytes_, pos_) != kMiMatrix) return std::nullopt;
  const uint64_t length = kTagSize + uint64_t{MatU32(bytes_, pos_ + 4)};
  if (length > bytes_.size() - pos_) return std::nullopt;
  MatElement element{pos_, length};
  pos_ += length;
  return element;
}

bool ReadMatVariable(std::string_view element, MatVariable* out) {
  *out = MatVariable();
  if (element.size() < kNameAt) return false;
  out->arrayClass = static_cast<uint8_t>(MatU32(element, kFlagsAt) & 0xFF);
  out->eightByteDims = MatU32(element, kDimsTagAt + 4) == 8;
  out->rows = static_cast<int32_t>(MatU32(element, kRowsAt));
  out->columns = static_cast<int32_t>(MatU32(element, kRowsAt + 4));
  const uint32_t nameWord = MatU32(element, kNameTagAt);
  uint64_t dataTagAt = 0;
  if ((nameWord >> 16) != 0) {
    // The small form: the length in the upper half, the name in the tag's second word.
    const size_t length = std::min<size_t>(nameWord >> 16, 4);
    out->name.assign(element.substr(kSmallNameAt, length));
    dataTagAt = kNameAt;
  } else {
    const uint64_t length = MatU32(element, kNameTagAt + 4);
    if (length > element.size() - kNameAt) return false;
    out->name.assign(Cut(element.substr(kNameAt), std::min<uint64_t>(length, kMatReadNameMax)));
    dataTagAt = kNameAt + Padded(length);
  }
  out->name.erase(std::find(out->name.begin(), out->name.end(), '\0'), out->name.end());
  if (dataTagAt > element.size() || element.size() - dataTagAt < kTagSize) return false;
  out->dataType = MatU32(element, dataTagAt);
  const uint64_t dataBytes = MatU32(element, dataTagAt + 4);
  if (dataBytes > element.size() - dataTagAt - kTagSize) return false;
  out->data = element.substr(dataTagAt + kTagSize, dataBytes);
  return true;
}

bool IsMatChannel(const MatVariable& v) {
  return v.eightByteDims && v.columns == 2 && v.dataType == kMiDouble && v.rows >= 0 &&
         v.data.size() == 16 * uint64_t(v.rows);
}

bool IsMatInformation(const MatVariable& v) {
  return v.eightByteDims && v.rows == 1 && v.dataType == kMiUint16 && v.columns >= 0 &&
         v.data.size() >= 2 * uint64_t(v.columns);
}

std::string MatChannelHead(std::string_view name, uint32_t rows) {
  const uint64_t dataBytes = 16 * uint64_t{rows};
  name = Cut(name, kMatWriteNameMax);
  return MatrixHead(name, kMxDouble, rows, 2, kMiDouble, static_cast<uint32_t>(dataBytes), dataBytes);
}

std::string MatStringVariable(std::string_view name, std::u16string_view value) {
  std::u16string text(value.substr(0, std::min(value.size(), kMatValueMax)));
  if (text.size() < kMatValueMin) text.resize(kMatValueMin, u' ');
  const uint32_t dataBytes = static_cast<uint32_t>(2 * text.size());
  std::string out = MatrixHead(Cut(name, kMatWriteNameMax), kMxChar, 1, static_cast<uint32_t>(text.size()),
                               kMiUint16, dataBytes, Padded(dataBytes));
  for (char16_t c : text) out.append(reinterpret_cast<const char*>(&c), 2);
  PadTo8(out);
  return out;
}

std::u16string MatInformationText(const MatVariable& v) {
  std::u16string text(static_cast<size_t>(v.columns), u'\0');
  std::memcpy(text.data(), v.data.data(), text.size() * 2);
  return text;
}

std::optional<MatElement> NextMatVariable(std::string_view bytes, MatWalk& walk, bool wantChannel) {
  while (std::optional<MatElement> element = walk.Next()) {
    MatVariable v;
    if (!ReadMatVariable(bytes.substr(element->offset, element->length), &v)) continue;
    if (wantChannel ? IsMatChannel(v) : IsMatInformation(v)) return element;
  }
  return std::nullopt;
}

bool ReadMatInformationVariable(std::string_view bytes, const MatElement& element, std::u16string* name,
                                std::u16string* value) {
  MatVariable v;
  if (!ReadMatVariable(bytes.substr(element.offset, element.length), &v) || !IsMatInformation(v)) return false;
  *name = AnsiToWide(v.name);
  *value = MatInformationText(v);
  return true;
}

bool ReadMatChannelVariable(std::string_view bytes, const MatElement& element, std::u16string* name, uint32_t* rows,
                            std::span<const char>* data) {
  MatVariable v;
  if (!ReadMatVariable(bytes.substr(element.offset, element.length), &v) || !IsMatChannel(v)) return false;
  *name = AnsiToWide(v.name);
  *rows = static_cast<uint32_t>(v.rows);
  *data = std::span<const char>(v.data.data(), v.data.size());
  return true;
}

}  // namespace velmar
