// Blob edits of a `.trn` outing: the checks at the call, the steps, and
// the job that writes through the store's blob writer. The job reads the
// store's blob list again before it writes (a step before it in the commit
// may have changed it), and names are compared exactly.
//
// Calls and steps: client thread. Jobs: the store thread.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "jobs/job_thread.h"
#include "sources/tarn/tarn_read_jobs.h"
#include "sources/tarn/tarn_transactions.h"
#include "velmar/blob_writer.h"
#include "writeback/write_back_step.h"

namespace velmar {

class CTarnOutingCache;

inline constexpr std::u16string_view kAddBlobDuplicate = u"Failed to add blob \"%s\" - duplicate blob found";
inline constexpr std::u16string_view kModifyBlobMissing = u"Failed to modify blob \"%s\" - blob not found";
inline constexpr std::u16string_view kRemoveBlobMissing = u"Failed to remove blob \"%s\" - blob not found";
inline constexpr std::u16string_view kAddBlobFailed = u"Failed to add blob \"%s\"";
inline constexpr std::u16string_view kModifyBlobFailed = u"Failed to modify blob \"%s\"";
inline constexpr std::u16string_view kRemoveBlobFailed = u"Failed to remove blob \"%s\"";

enum class BlobWriteOp { kAdd = 0, kModify = 1, kRemove = 2 };

struct BlobWriteFields {
  std::u16string name;
  Guid type;                   // add
  std::vector<uint8_t> bytes;  // modify
};

// The GUID of a text in registry form, braces included; nothing otherwise.
std::optional<Guid> ParseRegistryGuid(std::u16string_view text);

class CWBTarnBlobJobItem final : public CWriteBackJobItem {
 public:
  CWBTarnBlobJobItem(CStateMachineEx* owner, ComPtr<CTarnOutingTransactionJobItem> access, BlobWriteOp op,
                     BlobWriteFields fields)
      : CWriteBackJobItem(owner), access_(std::move(access)), op_(op), fields_(std::move(fields)) {}

 protected:
  KivResult Run() override;

 private:
  // The store's record of the name; nothing when it has none. False when
  // the list can't be read.
  bool Find(std::optional<TarnBlobDescription>* found, IKivTarnBlobRecords** keep) const;
  KivResult Write(IKivTarnBlobWriter& writer, const std::optional<TarnBlobDescription>& found) const;

  ComPtr<CTarnOutingTransactionJobItem> access_;
  const BlobWriteOp op_;
  const BlobWriteFields fields_;
};

template <BlobWriteOp Op>
class CWBTarnBlobStep final : public CWriteBackStateMachineBase {
 public:
  CWBTarnBlobStep(CWriteBackStateChanges* receiver, BlobWriteFields fields)
      : CWriteBackStateMachineBase(receiver), fields_(std::move(fields)) {}
  AsyncThread GetJobThread() override { return DaeThread(); }
  KivResult CreateJob(CJobItem* writeAccess, ComPtr<CWriteBackJobItem>* job) override {
    auto* access = static_cast<CTarnOutingTransactionJobItem*>(writeAccess);
    *job = MakeKiv<CWBTarnBlobJobItem>(this, ComPtr<CTarnOutingTransactionJobItem>(access), Op, fields_);
    return S_OK;
  }
  const BlobWriteFields& fields() const { return fields_; }

 private:
  const BlobWriteFields fields_;
};

using CWBTarnAddBlobSM = CWBTarnBlobStep<BlobWriteOp::kAdd>;
using CWBTarnModifyBlobSM = CWBTarnBlobStep<BlobWriteOp::kModify>;
using CWBTarnRemoveBlobSM = CWBTarnBlobStep<BlobWriteOp::kRemove>;
using CWBTarnAddBlobJobItem = CWBTarnBlobJobItem;
using CWBTarnModifyBlobJobItem = CWBTarnBlobJobItem;
using CWBTarnRemoveBlobJobItem = CWBTarnBlobJobItem;

// The blob writer face of a `.trn` outing object.
class CTarnBlobWriterFacet : public IKivBlobWriter {
 public:
  KivResult AddBlob(const std::u16string& name, const std::u16string& type) override;
  KivResult ModifyBlob(const std::u16string& name, const std::vector<uint8_t>& data) override;
  KivResult RemoveBlob(const std::u16string& name) override;

 protected:
  ~CTarnBlobWriterFacet() = default;
  virtual CTarnOutingCache* BlobWriterCache() = 0;

 private:
  // E_INVALIDARG when the name is too long, or the list is read and has the
  // name (`mustExist` false) or lacks it (`mustExist` true). A name an add
  // queued in the open transaction exists by the time a later step runs.
  KivResult CheckName(const std::u16string& name, bool mustExist);
  KivResult Queue(ComPtr<CWriteBackStateMachineBase> step);
};

}  // namespace velmar
