#include "sources/text/ascii_info_write.h"

#include <vector>

namespace velmar {

KivResult CWBAsciiOutingInfoJobItem::Run() {
  if (!access_ || !access_->handles().IsWritable()) return Fail(kInfoWriteFailed);
  std::vector<InformationProperty> lines;
  for (const Property& pair : properties()) lines.push_back({pair.name, pair.value});
  return access_->handles().WriteInformation(lines).ok() ? S_OK : Fail(kInfoWriteFailed);
}

}  // namespace velmar
