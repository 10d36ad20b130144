// Feeds bytes to the MAT-file walk and both variable readers, as a load
// does. Every variable read must write again (channel head and data, or
// information) to bytes that read back to the same variable.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

#include "sources/matfile/mat_layout.h"

namespace {

using namespace velmar;

void Check(bool ok, const char* what) {
  if (ok) return;
  std::fprintf(stderr, "mat_fuzz: %s\n", what);
  std::abort();
}

// One written variable as a file of its own, read back; `file` holds the
// bytes the variable's data lies in.
MatVariable ReadAlone(const std::string& element, std::string* file) {
  *file = MatHeaderBytes() + element;
  MatWalk walk(*file);
  const std::optional<MatElement> found = walk.Next();
  Check(found && found->length == element.size() && !walk.Next(), "a written variable does not walk as one");
  MatVariable v;
  Check(ReadMatVariable(std::string_view(*file).substr(found->offset, found->length), &v), "a written head does not read");
  return v;
}

void RoundTrip(std::string_view bytes, const MatElement& element) {
  MatVariable v;
  Check(ReadMatVariable(bytes.substr(element.offset, element.length), &v), "a found variable does not read");
  const std::string name = v.name.substr(0, std::min(v.name.size(), kMatWriteNameMax));
  std::string file;
  if (IsMatChannel(v)) {
    const MatVariable again =
        ReadAlone(MatChannelHead(name, static_cast<uint32_t>(v.rows)) + std::string(v.data), &file);
    Check(IsMatChannel(again) && again.rows == v.rows && again.data == v.data && again.name == name,
          "a channel does not read back");
    return;
  }
  std::u16string text = MatInformationText(v);
  const MatVariable again = ReadAlone(MatStringVariable(name, text), &file);
  text.resize(std::clamp(text.size(), kMatValueMin, kMatValueMax), u' ');
  Check(IsMatInformation(again) && MatInformationText(again) == text && again.name == name,
        "information does not read back");
}

// Both kinds as a load walks them: each must lie in the bytes and read.
void Walk(std::string_view bytes, bool channels) {
  MatWalk walk(bytes);
  while (std::optional<MatElement> element = NextMatVariable(bytes, walk, channels)) {
    Check(element->offset >= kMatHeaderSize && element->length <= bytes.size() - element->offset,
          "an element outside the bytes");
    std::u16string name, value;
    uint32_t rows = 0;
    std::span<const char> data;
    if (channels) {
      Check(ReadMatChannelVariable(bytes, *element, &name, &rows, &data), "a found channel does not read");
      Check(data.size() == 16 * uint64_t{rows}, "channel data of another size than its rows");
    } else {
      Check(ReadMatInformationVariable(bytes, *element, &name, &value), "found information does not read");
    }
    RoundTrip(bytes, *element);
  }
  Check(walk.position() <= bytes.size() || walk.position() == kMatHeaderSize, "the walk went past the end");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string_view bytes(reinterpret_cast<const char*>(data), size);
  Walk(bytes, true);
  Walk(bytes, false);
  return 0;
}
