// The on-demand reads of one kind of item (event sets, blob contents, media
// channel clips): item id to its read machine, and each machine to the set
// of clients that wait for or hold its data.
//
// Get() answers from a finished read, or makes the item's machine, enters
// the client (once) and starts the read. When a read ends every client of
// its machine hears OnItemDataReady; when the data is dropped (after a
// write, or a close), every client hears OnItemDataDropped. Clients stay
// entered until Forget().
//
// Client thread only.
#pragma once

#include <cstdint>
#include <map>
#include <set>
#include <utility>
#include <vector>

#include "sources/tarn/tarn_read_state_machine.h"
#include "velmar/types.h"

namespace velmar {

// What waits for one item's data: an event set, a blob, a media channel.
class ITarnItemDataClient {
 public:
  // The read ended; the data, when it succeeded, covers [from, to].
  virtual void OnItemDataReady(bool succeeded, KivTime from, KivTime to) = 0;
  // The data held for this client is gone; the next Get reads it again.
  virtual void OnItemDataDropped() = 0;

 protected:
  ~ITarnItemDataClient() = default;
};

// An item's status from the cache's answer to its data request: available
// with the data in hand, pending while it is read, else not available.
constexpr DataStatus ItemReadStatus(KivResult answer) {
  if (answer == S_OK) return DataStatus::kAvailable;
  return answer == S_FALSE ? DataStatus::kPending : DataStatus::kNotAvailable;
}

template <class Job>
class CTarnItemReads {
 public:
  using Machine = CTarnReadStateMachine<Job>;

  CTarnItemReads() = default;
  CTarnItemReads(const CTarnItemReads&) = delete;
  CTarnItemReads& operator=(const CTarnItemReads&) = delete;

  // S_OK with the finished job in `*data` when the item's read is done;
  // otherwise S_FALSE and the read started. The client is entered either
  // way, so that it hears when the data goes.
  // `makeJob` builds the item's job when its machine is made.
  [[nodiscard]] KivResult Get(uint64_t id, ITarnItemDataClient* client, ITarnReadClient<Job>* owner,
                              CFileStateMachine* file, typename Machine::MakeJob makeJob, Job** data) {
    *data = nullptr;
    auto it = machines_.find(id);
    if (it == machines_.end()) {
      it = machines_.emplace(id, MakeClient<Machine>(owner, file, std::move(makeJob))).first;
    }
    Machine* machine = it->second.Get();
    if (client) clients_[machine].insert(client);
    if (Job* done = machine->results()) {
      *data = done;
      return S_OK;
    }
    if (machine->state() == CStateMachine::State::kIdle) (void)machine->Start();
    return S_FALSE;
  }

  // The clients of a machine whose read ended, in a copy: a client may
  // forget itself while it is told.
  std::vector<ITarnItemDataClient*> ClientsOf(const Machine& machine) const {
    auto it = clients_.find(const_cast<Machine*>(&machine));
    if (it == clients_.end()) return {};
    return {it->second.begin(), it->second.end()};
  }

  // The client waits for nothing any more (it is going).
  void Forget(ITarnItemDataClient* client) {
    for (auto& entry : clients_) entry.second.erase(client);
  }

  // Every item's data goes; each client that held or waited for some hears it.
  void DropAll() {
    std::vector<ITarnItemDataClient*> told;
    for (auto& [id, machine] : machines_) {
      machine->Drop();
      for (ITarnItemDataClient* c : ClientsOf(*machine.Get())) told.push_back(c);
    }
    for (ITarnItemDataClient* c : told) {
      if (IsEntered(c)) c->OnItemDataDropped();
    }
  }

  // Every machine loses its client and stops; called as the owner goes.
  void Clear() {
    clients_.clear();
    machines_.clear();
  }

  // Whether the client is in some machine's set.
  bool IsEntered(ITarnItemDataClient* client) const {
    for (const auto& entry : clients_)
      if (entry.second.contains(client)) return true;
    return false;
  }

  size_t size() const { return machines_.size(); }
  Machine* machine(uint64_t id) const {
    auto it = machines_.find(id);
    return it == machines_.end() ? nullptr : it->second.Get();
  }

 private:
  std::map<uint64_t, ClientRef<Machine>> machines_;
  std::map<Machine*, std::set<ITarnItemDataClient*>> clients_;
};

}  // namespace velmar
