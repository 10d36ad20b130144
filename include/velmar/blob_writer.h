// Writing the blobs of a `.trn` outing: a face of the outing object. Each
// call checks what it can and queues a step in the outing's transaction
// (velmar/transaction.h); the commit writes, and the blob list is read
// again after it. A blob is added with its type and no content; its
// content is set by ModifyBlob, in the same transaction or a later one.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "velmar/unknown.h"

namespace velmar {

// Names of this many characters or more are refused.
inline constexpr size_t kBlobNameLimit = 128;

struct IKivBlobWriter : IKivUnknown {
  static constexpr Guid iid = Guid::Literal("{83BD1536-06B3-468F-8ABF-CF1CBBF01E65}");
  // E_INVALIDARG: a name too long; a type that is no GUID in registry form
  // ("{XXXXXXXX-XXXX-XXXX-XXXX-XXXXXXXXXXXX}"); with the blob list read, a
  // name the outing has. A name added since the read fails at the commit.
  virtual KivResult AddBlob(const std::u16string& name, const std::u16string& type) = 0;
  // Replaces the content. E_INVALIDARG: a name too long; with the list read,
  // a name the outing doesn't have.
  virtual KivResult ModifyBlob(const std::u16string& name, const std::vector<uint8_t>& data) = 0;
  // E_INVALIDARG as for ModifyBlob.
  virtual KivResult RemoveBlob(const std::u16string& name) = 0;
};

}  // namespace velmar
