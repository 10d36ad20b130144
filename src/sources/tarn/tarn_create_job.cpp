#include "sources/tarn/tarn_create_job.h"

namespace velmar {

KivResult CTarnCreateOutingJobItem::Run() {
  ComPtr<IKivTarnStoreFactory> factory;
  KivResult r = MakeStoreFactory(makeFactory_, &factory);
  if (Failed(r)) return r;
  ComPtr<IKivTarnStore> store;
  return factory->CreateFile(path_, IKivTarnStore::iid, store.PutVoid());  // both go here, on this thread
}

}  // namespace velmar
