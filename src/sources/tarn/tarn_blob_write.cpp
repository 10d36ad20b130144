#include "sources/tarn/tarn_blob_write.h"

#include <algorithm>

#include "sources/tarn/tarn_outing_cache.h"
#include "sources/tarn/tarn_records.h"

namespace velmar {
namespace {

std::u16string_view MissingText(BlobWriteOp op) {
  return op == BlobWriteOp::kAdd ? kAddBlobDuplicate : op == BlobWriteOp::kModify ? kModifyBlobMissing
                                                                                  : kRemoveBlobMissing;
}

std::u16string_view FailText(BlobWriteOp op) {
  return op == BlobWriteOp::kAdd ? kAddBlobFailed : op == BlobWriteOp::kModify ? kModifyBlobFailed : kRemoveBlobFailed;
}

}  // namespace

std::optional<Guid> ParseRegistryGuid(std::u16string_view text) {
  if (text.size() != 38 || text.front() != u'{' || text.back() != u'}') return std::nullopt;
  return Guid::Parse(text);
}

// --- Job -----------------------------------------------------------------------

bool CWBTarnBlobJobItem::Find(std::optional<TarnBlobDescription>* found, IKivTarnBlobRecords** keep) const {
  TarnConnection* store = access_ ? access_->connection() : nullptr;
  ComPtr<IKivTarnBlobRecords> records;
  if (!store || !store->blobs || Failed(store->blobs->GetBlobList(kTarnWaitForever, records.Put()))) return false;
  for (const TarnBlobDescription& d : Items(records)) {
    if (d.name && fields_.name == d.name) {
      *found = d;
      break;
    }
  }
  *keep = records.Detach();  // the found record's type lives in the list
  return true;
}

KivResult CWBTarnBlobJobItem::Write(IKivTarnBlobWriter& writer, const std::optional<TarnBlobDescription>& found) const {
  TarnBlobRecord record{};
  record.name = fields_.name.c_str();
  switch (op_) {
    case BlobWriteOp::kAdd: {
      record.type = &fields_.type;
      std::vector<uint64_t> ids;
      return writer.AddBlobs(1, &record, &ids);
    }
    case BlobWriteOp::kModify:
      record.id = found->id;
      record.type = found->type;
      record.data = fields_.bytes.empty() ? nullptr : fields_.bytes.data();
      record.size = static_cast<uint32_t>(fields_.bytes.size());
      return writer.ModifyBlobs(1, &record);
    case BlobWriteOp::kRemove:
      return writer.RemoveBlobs(1, &found->id);
  }
  return E_FAIL;
}

KivResult CWBTarnBlobJobItem::Run() {
  ComPtr<IKivTarnBlobWriter> writer = access_ ? access_->Writer<IKivTarnBlobWriter>() : nullptr;
  std::optional<TarnBlobDescription> found;
  ComPtr<IKivTarnBlobRecords> list;
  if (!writer || !Find(&found, list.Put())) {
    SetError(FailText(op_), fields_.name);
    return E_FAIL;
  }
  if (found.has_value() == (op_ == BlobWriteOp::kAdd)) {
    SetError(MissingText(op_), fields_.name);
    return E_FAIL;
  }
  if (Failed(Write(*writer, found))) {
    SetError(FailText(op_), fields_.name);
    return E_FAIL;
  }
  return S_OK;
}

// --- Calls ---------------------------------------------------------------------

KivResult CTarnBlobWriterFacet::CheckName(const std::u16string& name, bool mustExist) {
  if (name.size() >= kBlobNameLimit) return E_INVALIDARG;
  CTarnOutingCache* cache = BlobWriterCache();
  if (!cache) return E_FAIL;
  const std::vector<TarnNamedItem>* list = cache->LoadedBlobList();
  if (!list) return S_OK;
  bool exists = std::any_of(list->begin(), list->end(), [&](const TarnNamedItem& item) { return item.name == name; });
  if (mustExist && !exists) {
    const auto& queued = cache->transaction()->pending();
    exists = std::any_of(queued.begin(), queued.end(), [&](CWriteBackStateMachineBase* step) {
      auto* add = dynamic_cast<CWBTarnAddBlobSM*>(step);
      return add && add->fields().name == name;
    });
  }
  return exists == mustExist ? S_OK : E_INVALIDARG;
}

KivResult CTarnBlobWriterFacet::Queue(ComPtr<CWriteBackStateMachineBase> step) {
  return BlobWriterCache()->transaction()->AddWriteBackStep(std::move(step));
}

KivResult CTarnBlobWriterFacet::AddBlob(const std::u16string& name, const std::u16string& type) {
  if (name.size() >= kBlobNameLimit) return E_INVALIDARG;
  const std::optional<Guid> guid = ParseRegistryGuid(type);
  if (!guid) return E_INVALIDARG;
  if (KivResult r = CheckName(name, /*mustExist=*/false); Failed(r)) return r;
  return Queue(MakeKiv<CWBTarnAddBlobSM>(BlobWriterCache()->blob_write_back(), BlobWriteFields{name, *guid, {}}));
}

KivResult CTarnBlobWriterFacet::ModifyBlob(const std::u16string& name, const std::vector<uint8_t>& data) {
  if (KivResult r = CheckName(name, /*mustExist=*/true); Failed(r)) return r;
  return Queue(MakeKiv<CWBTarnModifyBlobSM>(BlobWriterCache()->blob_write_back(), BlobWriteFields{name, {}, data}));
}

KivResult CTarnBlobWriterFacet::RemoveBlob(const std::u16string& name) {
  if (KivResult r = CheckName(name, /*mustExist=*/true); Failed(r)) return r;
  return Queue(MakeKiv<CWBTarnRemoveBlobSM>(BlobWriterCache()->blob_write_back(), BlobWriteFields{name, {}, {}}));
}

}  // namespace velmar
