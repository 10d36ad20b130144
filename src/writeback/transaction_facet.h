// IKivTransaction on an outing object: the calls go to the transaction of
// the outing's cache, with the outing as the caller.
//
// Client thread only.
#pragma once

#include "outing/cache/outing_state_changes.h"
#include "velmar/transaction.h"
#include "writeback/transaction_state_machine.h"

namespace velmar {

class CTransactionFacet : public IKivTransaction {
 public:
  KivResult Begin() override { return Call(&CTransactionStateMachine::Begin); }
  KivResult Commit() override { return Call(&CTransactionStateMachine::Commit); }
  KivResult Rollback() override { return Call(&CTransactionStateMachine::Rollback); }

 protected:
  ~CTransactionFacet() = default;
  // The cache's transaction; null when the source has none.
  virtual CTransactionStateMachine* TransactionMachine() = 0;
  // This outing as its cache knows it.
  virtual COutingStateChanges* TransactionOuting() = 0;

 private:
  KivResult Call(KivResult (CTransactionStateMachine::*op)(COutingStateChanges*)) {
    CTransactionStateMachine* machine = TransactionMachine();
    return machine ? (machine->*op)(TransactionOuting()) : E_FAIL;
  }
};

}  // namespace velmar
