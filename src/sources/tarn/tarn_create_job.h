// The job that makes a new, empty `.trn` file for an outing that asked for
// one (the outing factory's create flag), on the store thread.
#pragma once

#include <string>

#include "jobs/job_item.h"
#include "sources/tarn/tarn_connection.h"

namespace velmar {

class CTarnCreateOutingJobItem final : public CJobItemEx {
 public:
  CTarnCreateOutingJobItem(CStateMachineEx* owner, const std::u16string& path, TarnStoreFactoryMaker makeFactory)
      : CJobItemEx(owner), path_(path), makeFactory_(std::move(makeFactory)) {}

 protected:
  // The store's result: STG_E_FILEALREADYEXISTS when the file is there.
  KivResult Run() override;

 private:
  const std::u16string path_;
  TarnStoreFactoryMaker makeFactory_;
};

}  // namespace velmar
