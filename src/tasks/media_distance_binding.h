// CMediaDistanceBinding: what a media channel proxy keeps up to date for the
// distance route. It binds, in this order, to the own selection's task, the
// task's root, the task's active selection and the distance channel of
// each selection (the root's common channel for corrected distance), and
// holds each channel's samples once read.
//
// What it hears, and what it does:
//   root: common channels changed   the names are read again; a new name drops
//                                   both channels and tells the owner
//   task: active selection changed  binds the new one, looks up both
//                                   channels anew, tells the owner
//   active selection: span changed  tells the owner
//   distance channel: removed       drops that channel
//   distance channel: data changed  drops its samples, tells the owner
// The task or root closing unbinds everything.
//
// Client thread only.
#pragma once

#include <string>

#include "media/distance_trace.h"
#include "media/media_channel_player.h"
#include "velmar/channel.h"
#include "velmar/data_selection.h"
#include "velmar/tasks.h"
#include "velmar/velmar.h"
#include "velmar/velmar_notifications.h"

namespace velmar {

class IDistanceBindingOwner {
 public:
  // Something the distance route reads from changed.
  virtual void DistanceChanged() = 0;

 protected:
  ~IDistanceBindingOwner() = default;
};

class CMediaDistanceBinding final : private CTaskNotificationsReceiver,
                                    private CVelmarNotificationsReceiver,
                                    private CDataSelectionNotificationsReceiver {
 public:
  explicit CMediaDistanceBinding(IDistanceBindingOwner* owner);
  ~CMediaDistanceBinding();
  CMediaDistanceBinding(const CMediaDistanceBinding&) = delete;
  CMediaDistanceBinding& operator=(const CMediaDistanceBinding&) = delete;

  // Binds once, to the selection that owns the channel; nothing without a task.
  void Bind(IKivDataSelection* own);
  void Unbind();

  // S_OK with the request when the distance route runs; S_FALSE for the
  // plain route (not bound, or both distance channels the same object, or
  // none); KIV_E_PENDING while a channel's samples are read.
  KivResult Request(DistanceRequest* request);

 private:
  // One selection's distance channel and its samples.
  class Side final : private CDataNotificationsReceiver {
   public:
    explicit Side(CMediaDistanceBinding* binding);
    ~Side();
    void LookUp(IKivDataSelection* selection);
    void Drop();
    IKivChannel* channel() const { return channel_.Get(); }
    // No channel, or one whose samples were read and hold none.
    bool Empty() const { return !channel_ || (read_ && trace_.empty()); }
    // S_OK with the samples (null: none), KIV_E_PENDING while read.
    KivResult Trace(const DistanceTrace** trace);

   private:
    void OnDataChanged(IKivData*, KivTime, KivTime) override;
    void OnDataRemoved(IKivData*) override { Drop(); }

    CMediaDistanceBinding* const binding_;
    ComPtr<IKivChannel> channel_;
    ComPtr<CDataNotificationsSink<>> sink_;
    DistanceTrace trace_;
    bool read_ = false;
  };

  void BindActive();
  void Tell() { owner_->DistanceChanged(); }
  std::u16string DistanceName() const;

  // CTaskNotificationsReceiver
  void OnActiveSelectionChanged(IKivTask*, int32_t, int32_t) override;
  void OnClosing(IKivTask*) override { Unbind(); }
  // CVelmarNotificationsReceiver
  void CommonChannelsChanged(IKivVelmar*) override;
  void Closing(IKivVelmar*) override { Unbind(); }
  // CDataSelectionNotificationsReceiver: the active selection.
  void OnSpanChanged(IKivDataSelection*) override { Tell(); }

  IDistanceBindingOwner* const owner_;
  ComPtr<IKivDataSelection> own_;
  ComPtr<IKivTask> task_;
  ComPtr<IKivVelmar> root_;
  ComPtr<IKivDataSelection4> active_;
  std::u16string distanceName_;
  Side ownSide_{this};
  Side activeSide_{this};
  ComPtr<CTaskNotificationsSink<>> taskSink_;
  ComPtr<CVelmarNotificationsSink<>> rootSink_;
  ComPtr<CDataSelectionNotificationsSink<>> activeSink_;
};

}  // namespace velmar
