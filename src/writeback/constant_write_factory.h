// CWritableConstantFactory: the constant factory of an outing whose source
// writes constants back. AddConstant and RemoveConstant check at the call
// and queue a step in the outing's transaction; a writer's commit queues a
// modify step (constant_write_back.h). Nothing changes in the values until
// the reload after the write.
//
// `Base` is the source's loaded factory over IKivConstantFactory2; the
// source gives its transaction, the receiver that reloads after a constant
// step, and its steps (MakeStep).
//
// Client thread only.
#pragma once

#include <memory>
#include <string>

#include "outing/constants/constant_write_back.h"
#include "writeback/constant_write_steps.h"
#include "writeback/transaction_state_machine.h"

namespace velmar {

template <class Base>
class CWritableConstantFactory : public Base, private CConstantWriteBack {
 public:
  // Clients that know only the first generation find this facet too.
  using OlderGeneration = IKivConstantFactory;

  // A name of 256 characters or more, a kind above 1, or a name the outing
  // has: E_INVALIDARG; E_FAIL while the list can't be had.
  KivResult AddConstant(const std::u16string& name, uint32_t kind) override {
    if (name.size() >= kConstantTextLimit) return E_INVALIDARG;
    return this->AddConstantByName(name, kind);
  }
  // E_INVALIDARG for a name the outing doesn't have.
  KivResult RemoveConstant(const std::u16string& name) override { return this->RemoveConstantByName(name); }

 protected:
  CWritableConstantFactory() {
    this->UseValues(std::make_shared<CWrittenConstantsCache>(static_cast<CConstantWriteBack*>(this)));
  }

  // The outing's transaction; null when there is none.
  virtual CTransactionStateMachine* ConstantTransaction() = 0;
  virtual CWriteBackStateChanges* ConstantReceiver() = 0;
  virtual ComPtr<CWriteBackStateMachineBase> MakeConstantStep(ConstantWriteOp op, CWriteBackStateChanges* receiver,
                                                              ConstantWriteFields fields) = 0;

  KivResult WriteAddedConstant(const std::u16string& name, uint32_t kind) override {
    if (this->values()->Find(name)) return E_INVALIDARG;
    ConstantWriteFields fields;
    fields.name = name;
    fields.kind = kind;
    return Queue(ConstantWriteOp::kAdd, std::move(fields));
  }
  KivResult WriteRemovedConstant(const std::u16string& name) override {
    const ConstantEntry* entry = this->values()->Find(name);
    if (!entry) return E_INVALIDARG;
    ConstantWriteFields fields;
    fields.name = name;
    fields.id = entry->id;
    return Queue(ConstantWriteOp::kRemove, std::move(fields));
  }

 private:
  KivResult QueueConstantModify(ConstantWriteFields fields) override {
    return Queue(ConstantWriteOp::kModify, std::move(fields));
  }
  KivResult Queue(ConstantWriteOp op, ConstantWriteFields fields) {
    CTransactionStateMachine* transaction = ConstantTransaction();
    if (!transaction) return E_FAIL;
    return transaction->AddWriteBackStep(MakeConstantStep(op, ConstantReceiver(), std::move(fields)));
  }
};

}  // namespace velmar
