// Named binary attachments of an outing, each with a type GUID.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "platform/store/records_object.h"
#include "platform/store/sqlite_db.h"
#include "velmar/tarn_store.h"

namespace velmar::store {

[[nodiscard]] KivResult ReadBlobList(Connection& db, RecordsObject<TarnBlobDescription>* out);
// One blob with its content; E_INVALIDARG for an unknown id.
[[nodiscard]] KivResult ReadBlob(Connection& db, uint64_t id, RecordsObject<TarnBlobRecord>* out);
[[nodiscard]] KivResult AddBlobs(Connection& db, std::span<const TarnBlobRecord> records, std::vector<uint64_t>* ids);
[[nodiscard]] KivResult ModifyBlobs(Connection& db, std::span<const TarnBlobRecord> records);
[[nodiscard]] KivResult RemoveBlobs(Connection& db, std::span<const uint64_t> ids);

}  // namespace velmar::store
