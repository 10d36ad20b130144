// One outing opened by the host and loaded: its name lists, information and
// items, each read as a host does (asking, waiting for the worker threads
// while the answer is KIV_E_PENDING, reading again). Failures throw
// HostError naming the file.
#pragma once

#include <memory>
#include <string>

#include "host_session.h"
#include "outing_watch.h"
#include "velmar/blobs.h"
#include "velmar/channel.h"
#include "velmar/constants.h"
#include "velmar/data_selection.h"
#include "velmar/data_factory.h"
#include "velmar/events.h"
#include "velmar/lap_markers.h"
#include "velmar/media.h"
#include "velmar/outing.h"
#include "velmar/property_set.h"

namespace velmar::cli {

class LoadedOuting {
 public:
  // Opens `file` through the session's factory, selects it in the session's
  // task and waits for its load. Channels are read through the selection's
  // proxies; the rest through the selection's own outing object.
  LoadedOuting(HostSession& session, std::string file);
  ~LoadedOuting();
  LoadedOuting(const LoadedOuting&) = delete;
  LoadedOuting& operator=(const LoadedOuting&) = delete;

  const std::string& file() const { return file_; }
  IKivOuting* outing() const { return outing_.Get(); }
  IKivDataSelection4* selection() const { return selection_.Get(); }
  HostSession& session() const { return session_; }

  NameList ChannelNames() const;
  NameList EventSetNames() const;
  // The outing's event sets, then those the selection's plug-ins add.
  NameList AllEventSetNames() const;
  NameList ConstantNames() const;
  // Read when first asked for: this waits for the list. Empty for an outing
  // without blobs (only a native store has them).
  NameList BlobNames() const;
  // The same for media channels (a native store's only).
  NameList MediaChannelNames() const;
  // The outing's properties; empty when the data set has no information.
  PropertyList Information() const;
  uint32_t Type() const;
  std::u16string OutingId() const;
  std::u16string Caption() const;

  // The item of that name; throws for a name the outing does not list.
  // `name` as listed, or the plain name of a listed channel key.
  ComPtr<IKivChannel> Channel(const std::u16string& name) const;
  // The listed name that `name` stands for; `name` when none does.
  std::u16string ChannelListName(const std::u16string& name) const;
  ComPtr<IKivEventSet> EventSet(const std::u16string& name) const;
  ComPtr<IKivConstant> Constant(const std::u16string& name) const;
  ComPtr<IKivBlob> Blob(const std::u16string& name) const;
  // The outing's own media channel: it plays the outing's whole span.
  ComPtr<IKivMediaChannel> MediaChannel(const std::u16string& name) const;
  // The lap markers, once read (the outing's span is known then).
  ComPtr<IKivLapMarkers> LapMarkers() const;

  // "<file>: <what> \"<name>\"" style messages for an item.
  [[noreturn]] void FailItem(const std::string& what, const std::u16string& name, KivResult r) const;

 private:
  // Whether the load has brought anything: information or a name.
  bool Loaded() const;
  void WaitForLoad();
  // The names of the outing's factory `Factory`, waiting for its list.
  template <class Factory>
  NameList ListedNames(const char* kind) const;
  template <class Factory, class Item>
  ComPtr<Item> Item_(const std::u16string& name, const char* kind) const;

  HostSession& session_;
  std::string file_;
  ComPtr<IKivDataSelection4> selection_;
  ComPtr<IKivOuting> outing_;
  std::unique_ptr<OutingWatch> watch_;
};

}  // namespace velmar::cli
