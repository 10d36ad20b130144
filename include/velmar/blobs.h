// Blobs: named binary attachments of a native store outing, each with a type
// GUID and its bytes. The outing's blob factory (IKivBlobFactory) lists them
// without their content, which is read the first time a client asks for it.
//
// Status values are those of every data item (velmar/channel.h): a blob
// whose content is being read is pending (3) and reports 1 (available) or 2
// (not available) when the read ends.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "velmar/notification_family.h"
#include "velmar/unknown.h"

namespace velmar {

struct IKivBlob : IKivUnknown {
  static constexpr Guid iid = Guid::Literal("{F35C7F42-61BE-4F4D-8A6B-E11A1E1098C1}");
  virtual KivResult GetName(std::u16string* name) = 0;
  // The type in registry form ("{...}"). S_FALSE with an empty text while
  // the content is being read (a notification follows); the read's failure
  // when it failed.
  virtual KivResult GetGuid(std::u16string* type) = 0;
  // A copy of the bytes; answers like GetGuid.
  virtual KivResult GetData(std::vector<uint8_t>* data) = 0;
  // Starts the content's read when the status is unknown: 3 until it ends.
  virtual KivResult GetStatus(uint32_t* status) = 0;
};

// What a blob raises: its content arrived or went (read the status and the
// data again), it left its outing, and (generation 2) its read failed.
#define KIV_BLOB_NOTIFICATIONS_1(X)                   \
  X(OnBlobChanged, (IKivBlob * blob), (blob))         \
  X(OnBlobRemoved, (IKivBlob * blob), (blob))
#define KIV_BLOB_NOTIFICATIONS_2(X) X(OnBlobFailed, (IKivBlob * blob), (blob))
KIV_NOTIFICATION_FAMILY(BlobNotifications, "{F0E46E59-A530-419F-9354-F32F7C952A07}", KIV_BLOB_NOTIFICATIONS_1)
KIV_NOTIFICATION_GENERATION(BlobNotifications, 2, , "{E928BF2A-3251-4382-9B6F-4D0CED061F3A}",
                            KIV_BLOB_NOTIFICATIONS_2)
#undef KIV_BLOB_NOTIFICATIONS_1
#undef KIV_BLOB_NOTIFICATIONS_2

}  // namespace velmar
