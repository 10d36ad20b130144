#include "loaded_outing.h"

#include <algorithm>
#include <type_traits>

#include "host_error.h"
#include "item_wait.h"
#include "plugin_channels.h"
#include "velmar/channel_key.h"
#include "velmar/text.h"

namespace velmar::cli {
namespace {

// The load's first round brings the lists; a native store may read its
// lists one job after another, hence a few rounds while something is heard.
constexpr int kLoadRounds = 4;

template <class Factory>
NameList NamesOf(IKivUnknown* outing) {
  NameList names;
  if (auto factory = QueryAs<Factory>(outing)) (void)factory->GetNames(&names);
  return names;
}

}  // namespace

LoadedOuting::LoadedOuting(HostSession& session, std::string file) : session_(session), file_(std::move(file)) {
  selection_ = session.Select(session.Open(file_).Get(), file_);
  if (selection_->GetOuting(outing_.Put()) != S_OK) Fail(file_, "the outing could not be selected");
  watch_ = std::make_unique<OutingWatch>(outing_.Get(), file_);
  WaitForLoad();
  JoinPluginChannels(session.root());
}

LoadedOuting::~LoadedOuting() {
  watch_.reset();
  outing_ = nullptr;
  // Let go of the outing; the selection stays in the task until the session ends.
  if (selection_) (void)selection_->Update(kSelectionOuting, nullptr, nullptr, 0, 0, 0, KIV_FALSE);
}

bool LoadedOuting::Loaded() const {
  ComPtr<IKivPropertySet> information;
  if (outing_->GetOutingInformation(information.Put()) == S_OK && information) return true;
  return !ChannelNames().empty() || !EventSetNames().empty() || !ConstantNames().empty();
}

void LoadedOuting::WaitForLoad() {
  // Asking for the lists and the information starts the load.
  for (int round = 0; !Loaded() && round < kLoadRounds; ++round) {
    watch_->Reset();
    if (!session_.Settle(file_)) Fail(file_, "timed out while loading");
    if (watch_->heard() == 0 && !Loaded()) break;
  }
  if (!Loaded()) Fail(file_, "no channels, events or information could be read (not a valid data set?)");
}

NameList LoadedOuting::ChannelNames() const { return NamesOf<IKivChannelFactory>(selection_.Get()); }
NameList LoadedOuting::EventSetNames() const { return NamesOf<IKivEventsFactory>(outing_.Get()); }
NameList LoadedOuting::AllEventSetNames() const {
  NameList names = EventSetNames();
  for (const std::u16string& name : NamesOf<IKivEventsFactory>(selection_.Get())) {
    if (std::find(names.begin(), names.end(), name) == names.end()) names.push_back(name);
  }
  return names;
}
NameList LoadedOuting::ConstantNames() const { return NamesOf<IKivConstantFactory>(outing_.Get()); }

template <class Factory>
NameList LoadedOuting::ListedNames(const char* kind) const {
  if (!QueryAs<Factory>(outing_.Get())) return {};
  NameList names = NamesOf<Factory>(outing_.Get());  // the first ask starts the list's read
  if (names.empty()) {
    if (!session_.Settle(file_)) Fail(file_, std::string("timed out while reading the ") + kind + " list");
    names = NamesOf<Factory>(outing_.Get());
  }
  return names;
}

NameList LoadedOuting::BlobNames() const { return ListedNames<IKivBlobFactory>("blob"); }
NameList LoadedOuting::MediaChannelNames() const { return ListedNames<IKivMediaChannelFactory>("media channel"); }

PropertyList LoadedOuting::Information() const {
  PropertyList properties;
  ComPtr<IKivPropertySet> information;
  if (outing_->GetOutingInformation(information.Put()) == S_OK && information) {
    (void)information->GetProperties(&properties);
  }
  return properties;
}

uint32_t LoadedOuting::Type() const {
  uint32_t type = 0;
  (void)outing_->GetOutingType(&type);
  return type;
}

std::u16string LoadedOuting::OutingId() const {
  std::u16string id;
  if (auto outing2 = QueryAs<IKivOuting2>(outing_.Get())) (void)outing2->GetOutingId(&id);
  return id;
}

std::u16string LoadedOuting::Caption() const {
  std::u16string caption;
  (void)outing_->GetCaption(&caption);
  return caption;
}

void LoadedOuting::FailItem(const std::string& what, const std::u16string& name, KivResult r) const {
  Fail(file_, what + " \"" + WideToUtf8(name) + "\"", r);
}

template <class Factory, class Item>
ComPtr<Item> LoadedOuting::Item_(const std::u16string& name, const char* kind) const {
  // Channels come from the selection (proxies), and so do the event sets of
  // its plug-ins; everything else from the outing.
  bool fromSelection = std::is_same_v<Factory, IKivChannelFactory>;
  if constexpr (std::is_same_v<Factory, IKivEventsFactory>) {
    const NameList own = EventSetNames();
    fromSelection = std::find(own.begin(), own.end(), name) == own.end();
  }
  auto factory = QueryAs<Factory>(fromSelection ? static_cast<IKivUnknown*>(selection_.Get())
                                                : static_cast<IKivUnknown*>(outing_.Get()));
  if (!factory) Fail(file_, std::string("this outing has no ") + kind + "s");
  ComPtr<Item> item;
  const KivResult r = ReadWhenReady(session_, outing_.Get(), file_, [&] { return factory->GetItem(name, item.Put()); });
  if (r == E_INVALIDARG) Fail(file_, std::string("no ") + kind + " \"" + WideToUtf8(name) + "\"");
  if (Failed(r) || !item) FailItem(std::string("cannot get ") + kind, name, Failed(r) ? r : E_FAIL);
  return item;
}

ComPtr<IKivChannel> LoadedOuting::Channel(const std::u16string& name) const {
  // A selection hands out a proxy for any name; only a listed one has data.
  const std::u16string listed = ChannelListName(name);
  const NameList names = ChannelNames();
  if (std::find(names.begin(), names.end(), listed) == names.end()) Fail(file_, "no channel \"" + WideToUtf8(name) + "\"");
  return Item_<IKivChannelFactory, IKivChannel>(listed, "channel");
}

std::u16string LoadedOuting::ChannelListName(const std::u16string& name) const {
  const NameList names = ChannelNames();
  if (std::find(names.begin(), names.end(), name) != names.end()) return name;
  // A store lists its channels by key ("[3]Speed"); a user types the name.
  for (const std::u16string& listed : names) {
    CChannelKey key;
    if (CChannelKey::Parse(listed, &key) && key.name() == name) return listed;
  }
  return name;
}
ComPtr<IKivEventSet> LoadedOuting::EventSet(const std::u16string& name) const {
  return Item_<IKivEventsFactory, IKivEventSet>(name, "event set");
}
ComPtr<IKivConstant> LoadedOuting::Constant(const std::u16string& name) const {
  return Item_<IKivConstantFactory, IKivConstant>(name, "constant");
}
ComPtr<IKivBlob> LoadedOuting::Blob(const std::u16string& name) const {
  return Item_<IKivBlobFactory, IKivBlob>(name, "blob");
}
ComPtr<IKivMediaChannel> LoadedOuting::MediaChannel(const std::u16string& name) const {
  return Item_<IKivMediaChannelFactory, IKivMediaChannel>(name, "media channel");
}

ComPtr<IKivLapMarkers> LoadedOuting::LapMarkers() const {
  auto markers = QueryAs<IKivLapMarkers>(outing_.Get());
  if (!markers) Fail(file_, "this outing has no lap markers");
  KivTime start = 0;
  const KivResult r = ReadWhenReady(session_, outing_.Get(), file_, [&] {
    const KivResult got = markers->GetOutingStart(&start);
    return got == E_FAIL ? KIV_E_PENDING : got;
  });
  if (r == KIV_E_PENDING) Fail(file_, "the lap markers never arrived");
  if (Failed(r)) Fail(file_, "cannot read the lap markers", r);
  return markers;
}

}  // namespace velmar::cli
