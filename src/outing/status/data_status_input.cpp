#include "outing/status/data_status_input.h"

#include <utility>
#include <vector>

#include "outing/status/data_status.h"

namespace velmar {

CDataInput::CDataInput(CDataInputHost& host, ComPtr<IKivUnknown> input, bool optional)
    : host_(host), input_(std::move(input)), optional_(optional) {
  auto dataSink = MakeKiv<CDataNotifications2Sink<>>();
  dataSink->SetReceiver(this);
  if (dataSink->Connect(input_.Get())) dataSink_ = std::move(dataSink);
  auto internalSink = MakeKiv<CInternalDataNotificationsSink<>>();
  internalSink->SetReceiver(this);
  if (internalSink->Connect(input_.Get())) internalSink_ = std::move(internalSink);
}

CDataInput::~CDataInput() {
  if (dataSink_) {
    dataSink_->SetReceiver(nullptr);
    dataSink_->Disconnect(input_.Get());
  }
  if (internalSink_) {
    internalSink_->SetReceiver(nullptr);
    internalSink_->Disconnect(input_.Get());
  }
}

// Each forward is the last thing done: the host may drop this input.
void CDataInput::OnDataChanged(IKivData*, KivTime from, KivTime to) { host_.InputChanged(from, to); }
void CDataInput::OnDataRemoved(IKivData*) { host_.InputRemoved(); }
void CDataInput::OnDataFailed(IKivData*) { host_.InputFailed(); }
void CDataInput::OnInternalDataChanged(IKivData*) { host_.InputInternal(); }

KivResult CDataInputs::Add(CDataInputHost& host, const std::u16string& key, IKivUnknown* input, bool optional) {
  if (!input) return E_POINTER;
  auto made = std::make_unique<CDataInput>(host, ComPtr<IKivUnknown>(input), optional);
  // The old input of that key goes after the new one is in place.
  std::unique_ptr<CDataInput> old = std::exchange(inputs_[key], std::move(made));
  return S_OK;
}

bool CDataInputs::Remove(const std::u16string& key) {
  auto it = inputs_.find(key);
  if (it == inputs_.end()) return false;
  std::unique_ptr<CDataInput> gone = std::move(it->second);
  inputs_.erase(it);
  return true;
}

void CDataInputs::Clear() {
  auto all = std::exchange(inputs_, {});
  all.clear();
}

DataStatus CDataInputs::Status() const {
  bool pending = false;
  // Over a copy of the references: asking an input may change this list.
  std::vector<std::pair<ComPtr<IKivUnknown>, bool>> walk;
  walk.reserve(inputs_.size());
  for (const auto& [key, input] : inputs_) walk.emplace_back(input->input(), input->optional());
  for (const auto& [input, optional] : walk) {
    auto data = QueryAs<IKivData>(input.Get());
    uint32_t status = 0;
    if (!data || Failed(data->GetStatus(&status))) return DataStatus::kNotAvailable;
    if (status == StatusCode(DataStatus::kPending)) {
      pending = true;
    } else if (status == StatusCode(DataStatus::kNotAvailable) && !optional) {
      return DataStatus::kNotAvailable;
    }
  }
  return pending ? DataStatus::kPending : DataStatus::kAvailable;
}

}  // namespace velmar
