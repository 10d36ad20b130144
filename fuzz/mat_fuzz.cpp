// Feeds bytes to the MAT-file walk and both variable readers, as a load
// does. Every variable read must write again (channel head and data, or
// information) to bytes that read back to the same variable.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

#include "sources/matfile/matlab_outing_job_item.h"
#include "velmar/text.h"

namespace {

using namespace velmar;

void Check(bool ok, const char* what) {
  if (ok) return;
  std::fprintf(stderr, "mat_fuzz: %s\n", what);
  std::abort();
}

// The bytes of one variable as a file of its own, read back.
MatVariable ReadAlone(const std::string& element) {
  const std::string file = MatHeaderBytes() + element;
  MatWalk walk(file);
  const std::optional<MatElement> found = walk.Next();
  Check(found && found->length == element.size() && !walk.Next(), "a written variable does not walk as one");
  MatVariable v;
  Check(ReadMatVariable(std::string_view(file).substr(found->offset, found->length), &v), "a written head does not read");
  return v;
}

void RoundTrip(std::string_view bytes) {
  MatWalk walk(bytes);
  while (std::optional<MatElement> element = walk.Next()) {
    Check(element->offset >= kMatHeaderSize && element->offset + element->length <= bytes.size(),
          "an element outside the bytes");
    MatVariable v;
    if (!ReadMatVariable(bytes.substr(element->offset, element->length), &v)) continue;
    const std::string name = v.name.substr(0, std::min(v.name.size(), kMatWriteNameMax));
    if (IsMatChannel(v)) {
      const MatVariable again = ReadAlone(MatChannelHead(name, static_cast<uint32_t>(v.rows)) + std::string(v.data));
      Check(IsMatChannel(again) && again.rows == v.rows && again.data == v.data && again.name == name,
            "a channel does not read back");
    } else if (IsMatInformation(v)) {
      std::u16string text = MatInformationText(v);
      const MatVariable again = ReadAlone(MatStringVariable(name, text));
      text.resize(std::clamp(text.size(), kMatValueMin, kMatValueMax), u' ');
      Check(IsMatInformation(again) && MatInformationText(again) == text && again.name == name,
            "information does not read back");
    }
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string_view bytes(reinterpret_cast<const char*>(data), size);
  MatlabOutingData loaded;
  const KivResult r = ReadMatlabOuting(bytes, &loaded);
  Check(r == (loaded.channels.empty() ? S_FALSE : S_OK), "the result does not say whether channels were found");
  for (const auto& [name, raw] : loaded.channels) Check(raw && raw->count() > 0, "a channel without samples");
  Check(!loaded.information.empty() && loaded.information.front().name == u"System details",
        "the property block does not start with the system details");
  RoundTrip(bytes);
  return 0;
}
