// The byte layouts of the MAT-file data set, all in one place: the 128-byte
// header, the walk over top-level matrix elements, the reading of a matrix
// element's head, and the building of the two kinds of variable we write
// (channels: n x 2 doubles; information: 1 x len characters).
//
// Only an uncompressed Level 5 subset is known here. Integers are
// little-endian; the host is too (checked at compile time), so doubles are
// copied as they lie.
//
// Pure functions over bytes: any thread.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace velmar {

inline constexpr size_t kMatHeaderSize = 128;
inline constexpr std::string_view kMatHeaderText = "KIVARA 1.0 MAT-file, Platform: WIN32";
// A file of ours starts with this; other writers' files do not.
inline constexpr std::string_view kMatOwnMark = "KIVARA";

// Element types and array classes we meet.
inline constexpr uint32_t kMiInt8 = 1;
inline constexpr uint32_t kMiUint16 = 4;
inline constexpr uint32_t kMiInt32 = 5;
inline constexpr uint32_t kMiUint32 = 6;
inline constexpr uint32_t kMiDouble = 9;
inline constexpr uint32_t kMiMatrix = 14;
inline constexpr uint8_t kMxChar = 4;
inline constexpr uint8_t kMxDouble = 6;

// Names are written up to 31 bytes and read up to 32; an information value
// is written up to 127 characters and at least 3.
inline constexpr size_t kMatWriteNameMax = 31;
inline constexpr size_t kMatReadNameMax = 32;
inline constexpr size_t kMatValueMax = 127;
inline constexpr size_t kMatValueMin = 3;
// A written name tag never says less, so no reader takes it for the small form.
inline constexpr uint32_t kMatNameTagMin = 5;

// The header of every file we write.
std::string MatHeaderBytes();

// One top-level element: where it starts and its whole length (tag included).
struct MatElement {
  uint64_t offset = 0;
  uint64_t length = 0;
};

// The walk over the top-level elements of a file's bytes: it starts behind
// the header and ends at the end of the bytes, at a tag that is not a
// matrix (a compressed element ends it too), or at an element that runs
// past the end; what came before stands.
class MatWalk {
 public:
  explicit MatWalk(std::string_view bytes) : bytes_(bytes) {}
  // The next matrix element, or nothing at the end of the walk.
  std::optional<MatElement> Next();
  // Where the walk stopped, once Next gave nothing: the end of the last
  // element read (or the header).
  uint64_t position() const { return pos_; }

 private:
  std::string_view bytes_;
  uint64_t pos_ = 0;
};

// What the head of a matrix element says; `data` lies inside the element.
struct MatVariable {
  std::string name;        // raw bytes, up to 32, without trailing zeros
  bool eightByteDims = false;
  int32_t rows = 0;
  int32_t columns = 0;
  uint8_t arrayClass = 0;
  uint32_t dataType = 0;
  std::string_view data;   // the data element's bytes as its tag counts them
};

// Reads the head of `element` (tag included). False when the element is too
// short for its head, or its name or data tag runs past its end.
bool ReadMatVariable(std::string_view element, MatVariable* out);

// n x 2 doubles: times then values. Holds exactly 16 x rows bytes of data.
bool IsMatChannel(const MatVariable& v);
// 1 x len 16-bit characters, with 2 x len bytes of data at least.
bool IsMatInformation(const MatVariable& v);

// The head of a channel variable of `rows` samples, up to and with its data
// tag: 16 x rows bytes of data follow (no padding needed).
std::string MatChannelHead(std::string_view name, uint32_t rows);
// A whole information variable: the name cut at 31 bytes, the value at 127
// characters and padded with blanks to 3.
std::string MatStringVariable(std::string_view name, std::u16string_view value);

// An information variable's characters as wide text.
std::u16string MatInformationText(const MatVariable& v);

// The readers over a file's bytes: the next element of the walk that fits
// the kind (a channel, or else information) and reads as one; then the
// variable of such an element, its name from the ANSI code page. A
// channel's `data` is its 2 x rows doubles, times then values.
std::optional<MatElement> NextMatVariable(std::string_view bytes, MatWalk& walk, bool wantChannel);
bool ReadMatInformationVariable(std::string_view bytes, const MatElement& element, std::u16string* name,
                                std::u16string* value);
bool ReadMatChannelVariable(std::string_view bytes, const MatElement& element, std::u16string* name, uint32_t* rows,
                            std::span<const char>* data);

// Little-endian reads inside bytes the caller bounds.
uint32_t MatU32(std::string_view bytes, size_t offset);

}  // namespace velmar
