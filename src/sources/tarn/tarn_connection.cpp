#include "sources/tarn/tarn_connection.h"

#include "jobs/job_thread.h"

namespace velmar {
namespace {

template <class I>
[[nodiscard]] KivResult QueryInto(const ComPtr<IKivTarnStore>& main, ComPtr<I>* out) {
  return main->QueryInterface(I::iid, out->PutVoid());
}

template <class I>
void Take(ComPtr<I>& held, std::vector<ComPtr<IKivUnknown>>& into) {
  if (held) into.push_back(ComPtr<IKivUnknown>(std::move(held)));
  held = nullptr;
}

}  // namespace

KivResult TarnConnection::QueryAll() {
  if (!main) return E_FAIL;
  KivResult r = QueryInto(main, &details);
  if (Succeeded(r)) r = QueryInto(main, &writeAccess);
  if (Succeeded(r)) r = QueryInto(main, &blobs);
  if (Succeeded(r)) r = QueryInto(main, &channels);
  if (Succeeded(r)) r = QueryInto(main, &events);
  if (Succeeded(r)) r = QueryInto(main, &lapMarkers);
  if (Succeeded(r)) r = QueryInto(main, &constants);
  if (Succeeded(r)) r = QueryInto(main, &media);
  return r;
}

std::vector<ComPtr<IKivUnknown>> TarnConnection::TakeAll() {
  std::vector<ComPtr<IKivUnknown>> all;
  Take(main, all);
  Take(details, all);
  Take(writeAccess, all);
  Take(blobs, all);
  Take(channels, all);
  Take(events, all);
  Take(lapMarkers, all);
  Take(constants, all);
  Take(media, all);
  return all;
}

bool TarnConnection::empty() const {
  return !main && !details && !writeAccess && !blobs && !channels && !events && !lapMarkers && !constants &&
         !media;
}

TarnStoreFactoryMaker DefaultTarnStoreFactoryMaker() {
  return [](ComPtr<IKivTarnStoreFactory>* out) { return CreateTarnStoreFactory(out); };
}

KivResult MakeStoreFactory(const TarnStoreFactoryMaker& make, ComPtr<IKivTarnStoreFactory>* factory) {
  const KivResult r = make ? make(factory) : E_FAIL;
  if (Failed(r)) return r;
  return *factory ? r : E_FAIL;
}

KivResult CCloseDataJobItem::Run() {
  ReleaseAll();
  return S_OK;
}

void CCloseDataJobItem::ReleaseAll() {
  for (ComPtr<IKivUnknown>& object : objects_) object = nullptr;
  objects_.clear();
}

void ReleaseOnStoreThread(std::vector<ComPtr<IKivUnknown>> objects) {
  if (objects.empty()) return;
  auto job = MakeKiv<CCloseDataJobItem>(std::move(objects));
  AsyncThread thread = DaeThread();
  // Without the store thread the objects go with the job, here.
  if (thread) (void)Async_QueueNewJob(thread, job.Get());
}

COpenFileJobItem::COpenFileJobItem(CFileStateMachine* owner, std::u16string path, TarnStoreFactoryMaker makeFactory)
    : CJobItemEx(owner), path_(std::move(path)), makeFactory_(std::move(makeFactory)) {}

COpenFileJobItem::~COpenFileJobItem() {
  // Only reached with interfaces when neither the close job nor a cancel took
  // them; they still go on the store thread.
  if (!connection_.empty()) ReleaseOnStoreThread(connection_.TakeAll());
}

void COpenFileJobItem::WTCleanupAfterCancel() { (void)connection_.TakeAll(); }

KivResult COpenFileJobItem::Run() {
  ComPtr<IKivTarnStoreFactory> factory;
  KivResult r = MakeStoreFactory(makeFactory_, &factory);
  if (Failed(r)) return r;
  r = factory->OpenFile(path_, IKivTarnStore::iid, connection_.main.PutVoid());
  if (Succeeded(r)) r = connection_.QueryAll();
  return r;  // the factory goes here, on this thread
}

CCloseFileJobItem::CCloseFileJobItem(CFileStateMachine* owner, ComPtr<COpenFileJobItem> opened)
    : CJobItemEx(owner), opened_(std::move(opened)) {}

KivResult CCloseFileJobItem::Run() {
  if (opened_) (void)opened_->connection().TakeAll();
  return S_OK;
}

KivResult CFileStateMachine::Open(const std::u16string& path) {
  if (state_ != State::kClosed && state_ != State::kClosing) return E_UNEXPECTED;
  auto job = MakeKiv<COpenFileJobItem>(this, path, makeFactory_);
  KivResult r = Async_QueueNewJob(DaeThread(), job.Get());
  if (Failed(r)) return r;
  open_ = std::move(job);
  openResult_ = S_OK;
  state_ = State::kOpening;
  return S_OK;
}

void CFileStateMachine::Close() {
  if (state_ == State::kOpening) {
    (void)Async_CancelJob(DaeThread(), open_.Get());
    open_ = nullptr;
    state_ = State::kClosed;
  } else if (state_ == State::kOpen) {
    auto job = MakeKiv<CCloseFileJobItem>(this, std::move(open_));
    open_ = nullptr;
    state_ = State::kClosing;
    if (Succeeded(Async_QueueNewJob(DaeThread(), job.Get()))) {
      close_ = std::move(job);
    } else {
      state_ = State::kClosed;  // no store thread: the open job's end releases what it holds
    }
  }
}

ComPtr<COpenFileJobItem> CFileStateMachine::Connection() const {
  return state_ == State::kOpening || state_ == State::kOpen ? open_ : nullptr;
}

void CFileStateMachine::JobCompleted(CJobItem* job) {
  if (!job) return;
  if (job == open_.Get() && state_ == State::kOpening) {
    if (job->status() == E_JOB_DROPPED) {
      if (Succeeded(Async_QueueNewJob(DaeThread(), job))) return;
    }
    openResult_ = job->status();
    state_ = State::kOpen;
    if (Failed(openResult_)) Close();
  } else if (job == close_.Get()) {
    if (job->status() == E_JOB_DROPPED && Succeeded(Async_QueueNewJob(DaeThread(), job))) return;
    close_ = nullptr;
    if (state_ == State::kClosing) state_ = State::kClosed;  // else opened again meanwhile
  }
}

}  // namespace velmar
