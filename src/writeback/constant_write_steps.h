// The steps of constant edits (add, modify, remove) and the job pattern
// every source's constant job follows.
//
// A job first looks the name up in the constants as the data set holds them
// now (Lookup), since an earlier step of the same commit may have added or
// removed it: an add stops on a name that is there, a modify or a remove on
// one that isn't (and takes the data set's id of the one found). Then it
// writes. Each way of failing has its text, with the constant's name.
//
// Steps: client thread. Jobs: the source's worker thread.
#pragma once

#include <cstdint>
#include <string_view>

#include "outing/constants/constant_write_back.h"
#include "writeback/write_back_step.h"

namespace velmar {

enum class ConstantWriteOp { kAdd = 0, kModify = 1, kRemove = 2 };

inline constexpr std::u16string_view kAddConstantDuplicate = u"Failed to add constant \"%s\" -  duplicate constant found";
inline constexpr std::u16string_view kModifyConstantMissing = u"Failed to modify constant \"%s\" - constant not found";
inline constexpr std::u16string_view kRemoveConstantMissing = u"Failed to remove constant \"%s\" - constant not found";
inline constexpr std::u16string_view kAddConstantFailed = u"Failed to add constant \"%s\"";
inline constexpr std::u16string_view kModifyConstantFailed = u"Failed to modify constant \"%s\"";
inline constexpr std::u16string_view kRemoveConstantFailed = u"Failed to remove constant \"%s\"";

class CWriteBackConstantJobItemBase : public CWriteBackJobItem {
 protected:
  CWriteBackConstantJobItemBase(CStateMachineEx* owner, ConstantWriteOp op, ConstantWriteFields fields)
      : CWriteBackJobItem(owner), op_(op), fields_(std::move(fields)) {}

  // Whether the data set holds the name now, with its id there; a failure
  // when the data set can't be read.
  [[nodiscard]] virtual KivResult Lookup(bool* found, int64_t* id) = 0;
  // Writes op() with fields(); id() is the looked-up id for a modify or a remove.
  [[nodiscard]] virtual KivResult Write() = 0;

  ConstantWriteOp op() const { return op_; }
  const ConstantWriteFields& fields() const { return fields_; }
  int64_t id() const { return id_; }

 private:
  KivResult Run() final;

  const ConstantWriteOp op_;
  const ConstantWriteFields fields_;
  int64_t id_ = -1;
};

// A source's constant job over the commit's write access `Access`.
template <class Access>
class CWriteBackConstantJobOn : public CWriteBackConstantJobItemBase {
 public:
  using AccessType = Access;
  CWriteBackConstantJobOn(CStateMachineEx* owner, ComPtr<Access> access, ConstantWriteOp op,
                          ConstantWriteFields fields)
      : CWriteBackConstantJobItemBase(owner, op, std::move(fields)), access_(std::move(access)) {}

 protected:
  Access* access() const { return access_.Get(); }

 private:
  ComPtr<Access> access_;
};

// A constant step: its job is made by MakeJob when the commit reaches it.
class CWriteBackConstantStateMachineBase : public CWriteBackStateMachineBase {
 public:
  KivResult CreateJob(CJobItem* writeAccess, ComPtr<CWriteBackJobItem>* job) final {
    *job = MakeJob(writeAccess, op_, fields_);
    return *job ? S_OK : E_FAIL;
  }
  ConstantWriteOp op() const { return op_; }
  const ConstantWriteFields& fields() const { return fields_; }

 protected:
  CWriteBackConstantStateMachineBase(CWriteBackStateChanges* receiver, ConstantWriteOp op, ConstantWriteFields fields)
      : CWriteBackStateMachineBase(receiver), op_(op), fields_(std::move(fields)) {}
  virtual ComPtr<CWriteBackJobItem> MakeJob(CJobItem* writeAccess, ConstantWriteOp op,
                                            const ConstantWriteFields& fields) = 0;

 private:
  const ConstantWriteOp op_;
  const ConstantWriteFields fields_;
};

// The step of one source and one edit: `Job(owner, access, op, fields)` over
// the commit's write access (Job::AccessType), run on `Thread()`.
template <class Job, AsyncThread (*Thread)(), ConstantWriteOp Op>
class CWriteBackConstantStep final : public CWriteBackConstantStateMachineBase {
 public:
  using Access = typename Job::AccessType;
  CWriteBackConstantStep(CWriteBackStateChanges* receiver, ConstantWriteFields fields)
      : CWriteBackConstantStateMachineBase(receiver, Op, std::move(fields)) {}
  AsyncThread GetJobThread() override { return Thread(); }

 protected:
  ComPtr<CWriteBackJobItem> MakeJob(CJobItem* writeAccess, ConstantWriteOp op,
                                    const ConstantWriteFields& fields) override {
    return MakeKiv<Job>(this, ComPtr<Access>(static_cast<Access*>(writeAccess)), op, fields);
  }
};

// The three steps of a source whose constant job is `Job`, run on `Thread()`.
template <class Job, AsyncThread (*Thread)()>
struct CWriteBackConstantSteps {
  using Add = CWriteBackConstantStep<Job, Thread, ConstantWriteOp::kAdd>;
  using Modify = CWriteBackConstantStep<Job, Thread, ConstantWriteOp::kModify>;
  using Remove = CWriteBackConstantStep<Job, Thread, ConstantWriteOp::kRemove>;

  static ComPtr<CWriteBackStateMachineBase> Make(ConstantWriteOp op, CWriteBackStateChanges* receiver,
                                                 ConstantWriteFields fields) {
    switch (op) {
      case ConstantWriteOp::kAdd:
        return MakeKiv<Add>(receiver, std::move(fields));
      case ConstantWriteOp::kModify:
        return MakeKiv<Modify>(receiver, std::move(fields));
      case ConstantWriteOp::kRemove:
        return MakeKiv<Remove>(receiver, std::move(fields));
    }
    return nullptr;
  }
};

}  // namespace velmar
