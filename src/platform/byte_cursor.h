// Little-endian reading and writing of outside bytes (wire frames, blobs).
//
// ByteReader never reads past its span: the first short or bad read fails,
// and every read after it fails too, so a parser checks ok() once at the end
// of a record. Texts are a u32 byte length then that many bytes of UTF-8,
// at most kMaxCursorText bytes.
//
// Any thread; one cursor per thread.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace velmar {

inline constexpr uint32_t kMaxCursorText = 0xFFFF;

class ByteReader {
 public:
  explicit ByteReader(std::span<const uint8_t> bytes) : bytes_(bytes) {}

  bool U8(uint8_t* value) { return Fixed(value); }
  bool U16(uint16_t* value) { return Fixed(value); }
  bool U32(uint32_t* value) { return Fixed(value); }
  bool I32(int32_t* value) { return Fixed(value); }
  bool U64(uint64_t* value) { return Fixed(value); }
  bool I64(int64_t* value) { return Fixed(value); }
  bool F64(double* value) { return Fixed(value); }
  // A text as UTF-16; fails on a length beyond the limit or the bytes left.
  bool Text(std::u16string* text);
  // `size` bytes copied to `out`.
  bool Raw(void* out, size_t size);
  // `count` raw bytes.
  bool Bytes(size_t count, std::vector<uint8_t>* out);
  // A count of records of at least `recordSize` bytes each: fails when the
  // bytes left could not hold them, so no caller reserves for a lying count.
  bool Count(size_t recordSize, uint32_t* count);

  bool ok() const { return ok_; }
  size_t left() const { return ok_ ? bytes_.size() - at_ : 0; }
  // Fails the reader (a value read well but out of its range).
  bool Fail() { return ok_ = false; }

 private:
  template <class T>
  bool Fixed(T* value);

  std::span<const uint8_t> bytes_;
  size_t at_ = 0;
  bool ok_ = true;
};

class ByteWriter {
 public:
  explicit ByteWriter(std::vector<uint8_t>* out) : out_(out) {}

  void U8(uint8_t value) { Fixed(value); }
  void U16(uint16_t value) { Fixed(value); }
  void U32(uint32_t value) { Fixed(value); }
  void I32(int32_t value) { Fixed(value); }
  void U64(uint64_t value) { Fixed(value); }
  void I64(int64_t value) { Fixed(value); }
  void F64(double value) { Fixed(value); }
  // Cut to kMaxCursorText bytes of UTF-8 (never inside a character).
  void Text(std::u16string_view text);
  void Bytes(std::span<const uint8_t> bytes) { out_->insert(out_->end(), bytes.begin(), bytes.end()); }

 private:
  template <class T>
  void Fixed(T value);

  std::vector<uint8_t>* out_;
};

}  // namespace velmar
