// The items of an export: plain in-memory copies of a channel's or an event
// set's data over a range, collected on the client thread so that a writer
// job can use them without touching client-side objects. An item that must
// wait for its source's data registers with a waiter, which hears when each
// item is in and when the last one is.
//
// Client thread only.
#pragma once

#include <map>
#include <string>

namespace velmar {

class CExportWaiter;

class CExportItem {
 public:
  enum State : int {
    kMade = 0,
    kCollecting = 1,  // waiting for its source to become readable
    kCollected = 2,   // the data is in the item
    kNothing = 3,     // no data in the range, or the source failed
  };

  virtual ~CExportItem();
  CExportItem(const CExportItem&) = delete;
  CExportItem& operator=(const CExportItem&) = delete;

  virtual const std::u16string& GetName() const = 0;
  State state() const { return state_; }
  CExportWaiter* waiter() const { return waiter_; }
  // Still waiting for its source. An item whose source went away while it
  // waited stands at "collecting" but waits no more: it has nothing.
  bool StillCollecting() const { return state_ == kCollecting && !left_; }

 protected:
  CExportItem() = default;
  void SetState(State state) { state_ = state; }
  // Out of the waiter's map, telling it how the item ended.
  void LeaveWaiter();

 private:
  friend class CExportWaiter;
  CExportWaiter* waiter_ = nullptr;
  State state_ = kMade;
  bool left_ = false;
};

// The items a step still waits for, by name.
class CExportWaiter {
 public:
  virtual ~CExportWaiter();
  CExportWaiter(const CExportWaiter&) = delete;
  CExportWaiter& operator=(const CExportWaiter&) = delete;

  // The item joins the map under its name (replacing one of that name) and
  // will tell this waiter when it is in.
  void AddItem(CExportItem* item);
  // Takes the item out without a call back (the step drops it).
  void Forget(CExportItem* item);
  size_t waiting() const { return items_.size(); }

 protected:
  CExportWaiter() = default;
  // An item that left without its data.
  virtual void OnExportFailed(CExportItem* item) = 0;
  // The last item left.
  virtual void OnExportsComplete() = 0;

 private:
  friend class CExportItem;
  void ItemLeft(CExportItem* item);

  std::map<std::u16string, CExportItem*> items_;
};

}  // namespace velmar
