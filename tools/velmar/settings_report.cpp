#include "settings_report.h"

#include <cstdio>

#include "host_error.h"
#include "velmar/classes.h"
#include "velmar/colour_table.h"
#include "velmar/common_channels.h"
#include "velmar/data_selection.h"
#include "velmar/favorites.h"
#include "velmar/priorities.h"
#include "velmar/property_factories.h"
#include "velmar/property_helpers.h"
#include "velmar/tasks.h"

namespace velmar::cli {
namespace {

std::string Colour(uint32_t bgr) {
  char text[8];
  std::snprintf(text, sizeof text, "#%02X%02X%02X", bgr & 0xFF, (bgr >> 8) & 0xFF, (bgr >> 16) & 0xFF);
  return text;
}

template <class I>
ComPtr<I> Owned(KivResult (IKivVelmar::*get)(I**), IKivVelmar* root) {
  ComPtr<I> out;
  (void)(root->*get)(out.Put());
  return out;
}

Json Selections(IKivTask* task) {
  Json list = Json::array();
  ComPtr<IKivDataSelections> selections;
  int32_t count = 0;
  if (Failed(task->GetSelections(selections.Put())) || Failed(selections->GetCount(&count))) return list;
  for (int32_t i = 1; i <= count; ++i) {
    ComPtr<IKivDataSelection4> selection;
    std::u16string label, caption;
    if (Failed(selections->GetItem(i, selection.Put()))) continue;
    (void)selection->GetLabel(&label);
    (void)selection->GetCaption(&caption);
    list.push_back(Json{{"label", Utf8(label)}, {"caption", Utf8(caption)}});
  }
  return list;
}

Json Tasks(IKivVelmar* root) {
  Json list = Json::array();
  auto tasks = Owned(&IKivVelmar::GetTasks, root);
  int32_t count = 0;
  if (!tasks || Failed(tasks->GetCount(&count))) return list;
  for (int32_t i = 1; i <= count; ++i) {
    ComPtr<IKivTask> task;
    std::u16string name;
    if (Failed(tasks->GetItem(i, task.Put()))) continue;
    (void)task->GetName(&name);
    list.push_back(Json{{"name", Utf8(name)}, {"selections", Selections(task.Get())}});
  }
  return list;
}

Json Priorities(IKivVelmar* root) {
  Json list = Json::array();
  ComPtr<IKivPriorities> priorities;
  auto v3 = QueryAs<IKivVelmar3>(root);
  int32_t count = 0;
  if (!v3 || Failed(v3->GetPriorities(priorities.Put())) || Failed(priorities->GetCount(&count))) return list;
  for (int32_t i = 1; i <= count; ++i) {
    ComPtr<IKivPriority> p;
    int32_t id = 0;
    uint32_t fore = 0, back = 0;
    std::u16string name;
    if (Failed(priorities->GetByIndex(i, p.Put()))) continue;
    (void)p->GetId(&id);
    (void)p->GetName(&name);
    (void)p->GetForeColor(&fore);
    (void)p->GetBackColor(&back);
    list.push_back(Json{{"id", id}, {"name", Utf8(name)}, {"fore", Colour(fore)}, {"back", Colour(back)}});
  }
  return list;
}

Json Favorites(IKivVelmar* root) {
  Json list = Json::array();
  ComPtr<IKivFavorites> favorites;
  auto v5 = QueryAs<IKivVelmar5>(root);
  int32_t count = 0;
  if (!v5 || Failed(v5->GetFavorites(favorites.Put())) || Failed(favorites->GetCount(&count))) return list;
  for (int32_t i = 1; i <= count; ++i) {
    std::u16string display, location;
    if (Succeeded(favorites->GetItem(i, &display, &location))) {
      list.push_back(Json{{"display", Utf8(display)}, {"location", Utf8(location)}});
    }
  }
  return list;
}

Json Palette(IKivVelmar* root) {
  Json list = Json::array();
  ComPtr<IKivColourTable> table;
  auto v6 = QueryAs<IKivVelmar6>(root);
  int32_t count = 0;
  if (!v6 || Failed(v6->GetColourTable(table.Put())) || Failed(table->GetCount(&count))) return list;
  for (int32_t i = 1; i <= count; ++i) {
    uint32_t colour = 0;
    if (Succeeded(table->GetColour(i, &colour))) list.push_back(Colour(colour));
  }
  return list;
}

Json CommonChannels(IKivVelmar* root) {
  Json roles = Json::object();
  auto channels = Owned(&IKivVelmar::GetCommonChannels, root);
  if (!channels) return roles;
  std::u16string text;
#define VELMAR_CLI_ROLE(Role) \
  if (Succeeded(channels->Get##Role(&text))) roles[#Role] = Utf8(text);
  KIV_COMMON_CHANNEL_ROLES(VELMAR_CLI_ROLE)
#undef VELMAR_CLI_ROLE
  return roles;
}

Json ChannelKeys(IKivVelmar* root) {
  Json list = Json::array();
  auto factory = Owned(&IKivVelmar::GetChannelPropertyFactory, root);
  uint32_t count = 0;
  if (!factory || Failed(factory->GetKeyCount(&count))) return list;
  for (uint32_t i = 1; i <= count; ++i) {
    std::u16string name;
    int32_t quantity = 0;
    if (Succeeded(factory->GetKey(i, &name, &quantity))) list.push_back(Json{{"name", Utf8(name)}, {"quantity", quantity}});
  }
  return list;
}

Json EventNames(IKivVelmar* root) {
  Json list = Json::array();
  ComPtr<IKivEventPropertyFactory> factory;
  auto v3 = QueryAs<IKivVelmar3>(root);
  uint32_t count = 0;
  if (!v3 || Failed(v3->GetEventPropertyFactory(factory.Put())) || Failed(factory->GetCount(&count))) return list;
  for (uint32_t i = 1; i <= count; ++i) {
    std::u16string name;
    if (Succeeded(factory->GetName(i, &name))) list.push_back(Utf8(name));
  }
  return list;
}

}  // namespace

Json SettingsReport(HostSession& session) {
  IKivVelmar* root = session.root();
  std::u16string caption;
  if (auto v2 = QueryAs<IKivVelmar2>(root)) (void)v2->GetOutingCaptionFormat(&caption);
  return Json{{"version", session.settings() ? session.settings()->StoredVersion() : 0},
              {"caption_format", Utf8(caption)},
              {"tasks", Tasks(root)},
              {"priorities", Priorities(root)},
              {"favorites", Favorites(root)},
              {"palette", Palette(root)},
              {"common_channels", CommonChannels(root)},
              {"channel_keys", ChannelKeys(root)},
              {"event_names", EventNames(root)}};
}

void WriteSettingsText(std::ostream& out, const Json& report) {
  out << "version\t" << report["version"].get<uint32_t>() << "\ncaption\t" << report["caption_format"].get<std::string>()
      << "\n";
  for (const auto& task : report["tasks"]) {
    out << "task\t" << task["name"].get<std::string>() << "\t" << task["selections"].size() << " selections\n";
    for (const auto& s : task["selections"]) {
      out << "selection\t" << s["label"].get<std::string>() << "\t" << s["caption"].get<std::string>() << "\n";
    }
  }
  for (const auto& p : report["priorities"]) {
    out << "priority\t" << p["id"].get<int32_t>() << "\t" << p["name"].get<std::string>() << "\t"
        << p["fore"].get<std::string>() << "\t" << p["back"].get<std::string>() << "\n";
  }
  for (const auto& f : report["favorites"]) {
    out << "favourite\t" << f["display"].get<std::string>() << "\t" << f["location"].get<std::string>() << "\n";
  }
  out << "palette";
  for (const auto& c : report["palette"]) out << "\t" << c.get<std::string>();
  out << "\n";
  for (const auto& [role, text] : report["common_channels"].items()) {
    out << "common\t" << role << "\t" << text.get<std::string>() << "\n";
  }
  for (const auto& k : report["channel_keys"]) {
    out << "channel key\t" << k["name"].get<std::string>() << "\t" << k["quantity"].get<int32_t>() << "\n";
  }
  for (const auto& e : report["event_names"]) out << "event name\t" << e.get<std::string>() << "\n";
}

void ImportOutingProperties(HostSession& session, IKivOuting* outing, const std::string& file) {
  IKivVelmar* root = session.root();
  ComPtr<IKivChannelPropertyFactoryHelper> channels;
  ComPtr<IKivEventPropertyFactoryHelper> events;
  if (KivResult r = KivCreateInstance(CLSID_KivChannelPropertyFactoryHelper, &channels); Failed(r)) {
    Fail(file, "the channel property helper could not be made", r);
  }
  if (KivResult r = KivCreateInstance(CLSID_KivEventPropertyFactoryHelper, &events); Failed(r)) {
    Fail(file, "the event property helper could not be made", r);
  }
  auto channelFactory = Owned(&IKivVelmar::GetChannelPropertyFactory, root);
  ComPtr<IKivEventPropertyFactory> eventFactory;
  if (auto v3 = QueryAs<IKivVelmar3>(root)) (void)v3->GetEventPropertyFactory(eventFactory.Put());
  if (KivResult r = channels->ImportOutingProperties(channelFactory.Get(), outing); Failed(r)) {
    Fail(file, "the channel properties could not be imported", r);
  }
  if (KivResult r = events->ImportOutingProperties(eventFactory.Get(), outing); Failed(r)) {
    Fail(file, "the event properties could not be imported", r);
  }
  if (!session.Settle("importing properties")) Fail(file, "the import did not finish in time");
}

}  // namespace velmar::cli
