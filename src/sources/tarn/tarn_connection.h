// The connection of a `.trn` outing to the store: the store's interfaces on
// one file, and the machine that opens and closes them.
//
// Every store interface is got, used and released on the store thread
// ("DAE_Thread"). A finished COpenFileJobItem *is* the connection: read jobs
// hold it and reach the interfaces from the store thread; CCloseFileJobItem
// takes them over and releases them there. The client thread never touches
// an interface, only the jobs that hold them.
//
// CFileStateMachine (client thread): 0 closing, 1 closed, 2 opening, 3 open.
//   Open(path)    1 -> 2, queues the open job.
//   open ends     2 -> 3; on failure straight on into Close.
//   Close()       2 -> 1, the open job cancelled (its cleanup releases);
//                 3 -> 0, queues the close job; its end 0 -> 1.
//   Open in 0     -> 2: the new open runs after the close (reopening).
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "jobs/job_item.h"
#include "jobs/state_machine.h"
#include "velmar/tarn_store.h"

namespace velmar {

// The store's interfaces on one file.
struct TarnConnection {
  ComPtr<IKivTarnStore> main;
  ComPtr<IKivTarnOutingDetails> details;
  ComPtr<IKivTarnWriteAccess> writeAccess;
  ComPtr<IKivTarnBlobs> blobs;
  ComPtr<IKivTarnChannels> channels;
  ComPtr<IKivTarnEvents> events;
  ComPtr<IKivTarnLapMarkers> lapMarkers;
  ComPtr<IKivTarnConstants> constants;
  ComPtr<IKivTarnMedia> media;

  // Queries the main object for the others, in the store's order: details,
  // write access, blobs, channels, events, lap markers, constants, media.
  // The first failure ends it with that result; what was got stays.
  [[nodiscard]] KivResult QueryAll();
  // Every interface held, in the close order: main, details, write access,
  // blobs, channels, events, lap markers, constants, media. Leaves this empty.
  std::vector<ComPtr<IKivUnknown>> TakeAll();
  bool empty() const;
};

// Makes the store's factory object; tests give one over a failing file system.
using TarnStoreFactoryMaker = std::function<KivResult(ComPtr<IKivTarnStoreFactory>*)>;
TarnStoreFactoryMaker DefaultTarnStoreFactoryMaker();
// The factory `make` gives: its failure as it stands, E_FAIL for none.
[[nodiscard]] KivResult MakeStoreFactory(const TarnStoreFactoryMaker& make, ComPtr<IKivTarnStoreFactory>* factory);

// Releases store objects on the store thread, in the order given. It has no
// machine and must run: it refuses cancelling.
class CCloseDataJobItem final : public CJobItem {
 public:
  explicit CCloseDataJobItem(std::vector<ComPtr<IKivUnknown>> objects) : objects_(std::move(objects)) {}
  int CancelJob() override { return 0; }
  void WTCleanupAfterCancel() override { ReleaseAll(); }

 protected:
  KivResult Run() override;

 private:
  void ReleaseAll();
  std::vector<ComPtr<IKivUnknown>> objects_;
};

// Queues the release of `objects` on the store thread. Without a store thread
// (the process is ending) they are released here.
void ReleaseOnStoreThread(std::vector<ComPtr<IKivUnknown>> objects);

class CFileStateMachine;

class COpenFileJobItem final : public CJobItemEx {
 public:
  COpenFileJobItem(CFileStateMachine* owner, std::u16string path, TarnStoreFactoryMaker makeFactory);
  ~COpenFileJobItem() override;

  // Store thread only: the interfaces opened so far.
  TarnConnection& connection() { return connection_; }
  void WTCleanupAfterCancel() override;

 protected:
  KivResult Run() override;

 private:
  const std::u16string path_;
  TarnStoreFactoryMaker makeFactory_;
  TarnConnection connection_;
};

// Takes over the interfaces of an open job and releases them on the store
// thread, in the close order. Refuses cancelling: a close always happens.
class CCloseFileJobItem final : public CJobItemEx {
 public:
  CCloseFileJobItem(CFileStateMachine* owner, ComPtr<COpenFileJobItem> opened);
  int CancelJob() override { return 0; }

 protected:
  KivResult Run() override;

 private:
  ComPtr<COpenFileJobItem> opened_;
};

class CFileStateMachine final : public CStateMachineEx {
 public:
  enum class State : int32_t { kClosing = 0, kClosed = 1, kOpening = 2, kOpen = 3 };

  explicit CFileStateMachine(TarnStoreFactoryMaker makeFactory = DefaultTarnStoreFactoryMaker())
      : makeFactory_(std::move(makeFactory)) {}

  State state() const { return state_; }
  // The result of the last open; S_OK before any.
  KivResult open_result() const { return openResult_; }

  // Closed or closing: queues the open of `path` on the store thread (after
  // the close, when one is under way). E_UNEXPECTED while opening or open; a
  // refusal of the engine as it stands.
  [[nodiscard]] KivResult Open(const std::u16string& path);
  // Lets go of the connection (see the top). Nothing while closed or closing.
  void Close();
  // The connection for a job about to be queued: the open job while opening
  // or open (a job queued now runs after it); null otherwise.
  ComPtr<COpenFileJobItem> Connection() const;

  void JobCompleted(CJobItem* job) override;
  void OnLastClientRelease() override { Close(); }

 private:
  ~CFileStateMachine() override = default;

  TarnStoreFactoryMaker makeFactory_;
  State state_ = State::kClosed;
  ComPtr<COpenFileJobItem> open_;
  ComPtr<CCloseFileJobItem> close_;
  KivResult openResult_ = S_OK;
};

}  // namespace velmar
