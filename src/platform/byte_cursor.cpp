#include "platform/byte_cursor.h"

#include <cstring>

#include "velmar/text.h"

namespace velmar {

template <class T>
bool ByteReader::Fixed(T* value) {
  if (!ok_ || bytes_.size() - at_ < sizeof(T)) return Fail();
  std::memcpy(value, bytes_.data() + at_, sizeof(T));  // the platform is little-endian, as the bytes are
  at_ += sizeof(T);
  return true;
}

template bool ByteReader::Fixed(uint8_t*);
template bool ByteReader::Fixed(uint16_t*);
template bool ByteReader::Fixed(uint32_t*);
template bool ByteReader::Fixed(int32_t*);
template bool ByteReader::Fixed(uint64_t*);
template bool ByteReader::Fixed(int64_t*);
template bool ByteReader::Fixed(double*);

bool ByteReader::Text(std::u16string* text) {
  uint32_t length = 0;
  if (!U32(&length) || length > kMaxCursorText || length > left()) return Fail();
  const auto* first = reinterpret_cast<const char*>(bytes_.data() + at_);
  *text = Utf8ToWide(std::string_view(first, length));
  at_ += length;
  return true;
}

bool ByteReader::Raw(void* out, size_t size) {
  if (!ok_ || size > left()) return Fail();
  std::memcpy(out, bytes_.data() + at_, size);
  at_ += size;
  return true;
}

bool ByteReader::Bytes(size_t count, std::vector<uint8_t>* out) {
  if (!ok_ || count > left()) return Fail();
  out->assign(bytes_.begin() + static_cast<std::ptrdiff_t>(at_), bytes_.begin() + static_cast<std::ptrdiff_t>(at_ + count));
  at_ += count;
  return true;
}

bool ByteReader::Count(size_t recordSize, uint32_t* count) {
  if (!U32(count)) return false;
  if (recordSize > 0 && *count > left() / recordSize) return Fail();
  return true;
}

template <class T>
void ByteWriter::Fixed(T value) {
  const auto* bytes = reinterpret_cast<const uint8_t*>(&value);
  out_->insert(out_->end(), bytes, bytes + sizeof(T));
}

template void ByteWriter::Fixed(uint8_t);
template void ByteWriter::Fixed(uint16_t);
template void ByteWriter::Fixed(uint32_t);
template void ByteWriter::Fixed(int32_t);
template void ByteWriter::Fixed(uint64_t);
template void ByteWriter::Fixed(int64_t);
template void ByteWriter::Fixed(double);

void ByteWriter::Text(std::u16string_view text) {
  std::string utf8 = WideToUtf8(text);
  if (utf8.size() > kMaxCursorText) {
    size_t end = kMaxCursorText;
    while (end > 0 && (static_cast<uint8_t>(utf8[end]) & 0xC0) == 0x80) --end;  // not inside a character
    utf8.resize(end);
  }
  U32(static_cast<uint32_t>(utf8.size()));
  out_->insert(out_->end(), utf8.begin(), utf8.end());
}

}  // namespace velmar
