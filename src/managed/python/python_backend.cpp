// The CPython backend: each operation of the plug-in seam forwarded to the
// plug-in's Python objects through kivara.tools._host.
#include <cstring>
#include <map>

#include <pybind11/numpy.h>
#include <pybind11/stl.h>

#include "managed/python/host_module.h"
#include "managed/python/python_interpreter.h"
#include "managed/tool_locator.h"
#include "velmar/text.h"

namespace velmar::managed::python {
namespace {

// A Python object that may be let go of from native code at any time: the
// last holder takes the GIL to drop it.
class PyRef {
 public:
  explicit PyRef(py::object object) : object_(std::move(object)) {}
  ~PyRef() {
    py::gil_scoped_acquire gil;
    object_ = py::object();
  }
  PyRef(const PyRef&) = delete;
  PyRef& operator=(const PyRef&) = delete;
  const py::object& get() const { return object_; }

 private:
  py::object object_;
};
using SharedPy = std::shared_ptr<PyRef>;

std::u16string Wide(const py::handle& text) { return Utf8ToWide(py::cast<std::string>(py::str(text))); }

// Holds a sink and detaches it when it goes, so a late call from Python
// raises instead of reaching freed memory.
struct OwnedSink {
  SinkHandle handle;
  ~OwnedSink() { Reset(); }
  void Reset() {
    if (!handle.sink) return;
    handle.sink->Detach();
    handle.sink = nullptr;
    py::gil_scoped_acquire gil;
    handle.callable = py::object();
  }
};

// (width, height, RGBA bytes) from kivara.tools._host.picture as pixels;
// null for None.
SharedPluginPicture PictureOf(const py::handle& made) {
  if (made.is_none()) return nullptr;
  auto t = py::reinterpret_borrow<py::tuple>(made);
  auto picture = std::make_shared<PluginPicture>();
  picture->width = py::cast<uint32_t>(t[0]);
  picture->height = py::cast<uint32_t>(t[1]);
  const auto rgba = py::cast<std::string>(t[2]);
  if (rgba.size() != size_t{picture->width} * picture->height * 4) throw PluginError("an icon of the wrong size");
  picture->argb.reserve(rgba.size() / 4);
  for (size_t k = 0; k < rgba.size(); k += 4) {
    const auto byte = [&](size_t i) { return static_cast<uint32_t>(static_cast<uint8_t>(rgba[k + i])); };
    picture->argb.push_back(byte(3) << 24 | byte(0) << 16 | byte(1) << 8 | byte(2));
  }
  return picture;
}

// A report of a plug-in channel or event set: ("data", start, end) with
// None for an open end, ("state",), ("availability",) or ("terminating",).
void Report(PluginDataListener* listener, const py::args& args) {
  const auto what = py::cast<std::string>(args[0]);
  if (what == "data") {
    const auto end = [&](size_t i, KivTime open) {
      return args.size() > i && !args[i].is_none() ? py::cast<KivTime>(args[i]) : open;
    };
    listener->OnDataChanged(end(1, kTimeMin), end(2, kTimeMax));
  } else if (what == "availability") {
    listener->OnAvailabilityChanged();
  } else if (what == "terminating") {
    listener->OnTerminating();
  } else {
    listener->OnStateChanged();
  }
}

// The plug-in item's reports reach `listener` through one sink, replaced
// on each call; null leaves it without one.
void ListenTo(const py::object& item, OwnedSink& sink, PluginDataListener* listener) {
  WithPython([&] {
    if (sink.handle.sink && py::hasattr(item, "unlisten")) item.attr("unlisten")(sink.handle.callable);
    sink.Reset();
    if (!listener || !py::hasattr(item, "listen")) return;
    sink.handle = MakeSink(listener, [listener](const py::args& args) { Report(listener, args); });
    item.attr("listen")(sink.handle.callable);
  });
}

class PythonTool final : public PluginTool {
 public:
  PythonTool(py::object tool, PluginToolListener* listener) : tool_(std::move(tool)) {
    toolSink_.handle = MakeSink(listener, [listener](const py::args&) { listener->OnToolChanged(); });
    commandSink_.handle = MakeSink(listener, [listener](const py::args&) { listener->OnCommandsChanged(); });
    subscribed_ = py::list();
    tool_.attr("subscribe")(toolSink_.handle.callable);
  }
  ~PythonTool() override {
    py::gil_scoped_acquire gil;
    tool_ = py::object();
    subscribed_ = py::object();
  }

  std::vector<PluginCommandGroup> Commands() override {
    return WithPython([&] {
      HostModule().attr("unsubscribe_all")(subscribed_, commandSink_.handle.callable);
      py::object groups =
          HostModule().attr("walk_groups")(tool_.attr("Commands"), commandSink_.handle.callable, subscribed_);
      return Groups(groups);
    });
  }

  bool Save(std::vector<uint8_t>* bytes) override {
    return WithPython([&] {
      auto data = py::cast<std::string>(py::bytes(HostModule().attr("save")(tool_)));
      bytes->assign(data.begin(), data.end());
      return true;
    });
  }

  bool RequiresParentWindow() const override { return Has("ParentWindowHandle"); }
  void SetParentWindowHandle(int32_t window) override { Set("ParentWindowHandle", py::int_(window)); }
  bool HasAppearance() const override {
    return WithPython([&] {
      return py::isinstance(tool_, py::module_::import("kivara.tools").attr("IToolAppearance"));
    });
  }
  void SetBackColor(uint32_t colour) override { Set("BackgroundColor", py::int_(colour)); }
  void SetForeColor(uint32_t colour) override { Set("ForegroundColor", py::int_(colour)); }
  void SetGridColor(uint32_t colour) override { Set("GridColor", py::int_(colour)); }
  void SetFont(const PluginFont& font) override {
    WithPython([&] {
      tool_.attr("Font") = py::make_tuple(WideToUtf8(font.name), font.size, font.bold, font.italic);
    });
  }

  void Dispose() override {
    WithPython([&] {
      HostModule().attr("unsubscribe_all")(subscribed_, commandSink_.handle.callable);
      tool_.attr("unsubscribe")(toolSink_.handle.callable);
      tool_.attr("Velmar") = py::none();
      tool_.attr("dispose")();
    });
  }

 private:
  bool Has(const char* name) const {
    return WithPython([&] {
      return py::isinstance(tool_, py::module_::import("kivara.tools").attr("IToolRequiringParentWindowHandle")) ||
             py::hasattr(tool_, name);
    });
  }
  void Set(const char* name, py::object value) const {
    WithPython([&] { tool_.attr(name) = std::move(value); });
  }

  static std::vector<PluginCommandGroup> Groups(const py::handle& groups) {
    std::vector<PluginCommandGroup> out;
    for (py::handle group : groups) {
      auto pair = py::reinterpret_borrow<py::tuple>(group);
      PluginCommandGroup g;
      for (py::handle c : pair[0]) {
        auto t = py::reinterpret_borrow<py::tuple>(c);
        PluginCommand command;
        command.name = Wide(t[0]);
        if (!t[1].is_none()) command.description = Wide(t[1]);
        command.enabled = py::cast<bool>(t[2]);
        command.checked = py::cast<bool>(t[3]);
        command.icon = PictureOf(t[4]);
        auto execute = std::make_shared<PyRef>(py::reinterpret_borrow<py::object>(t[5]));
        command.execute = [execute] { WithPython([&] { execute->get()(); }); };
        g.commands.push_back(std::move(command));
      }
      for (py::handle s : pair[1]) {
        auto sub = py::reinterpret_borrow<py::tuple>(s);
        g.subCommands.push_back({Wide(sub[0]), Groups(sub[1])});
      }
      out.push_back(std::move(g));
    }
    return out;
  }

  py::object tool_;
  py::object subscribed_;
  OwnedSink toolSink_;
  OwnedSink commandSink_;
};

class PythonChannel final : public PluginChannel {
 public:
  explicit PythonChannel(py::object channel) : channel_(std::make_shared<PyRef>(std::move(channel))) {}

  void Listen(PluginDataListener* listener) override { ListenTo(channel_->get(), sink_, listener); }

  bool HasData() override { return WithPython([&] { return !Data().is_none(); }); }
  int64_t BlockCount() override { return WithPython([&] { return static_cast<int64_t>(py::len(Data())); }); }
  PluginBlockInfo Block(int64_t index) override {
    return WithPython([&] {
      py::object block = Data()[py::int_(index)];
      py::object times = block.attr("Times");
      PluginBlockInfo info;
      info.periodic = py::cast<bool>(times.attr("Periodic"));
      info.join = py::cast<bool>(block.attr("Join"));
      info.start = py::cast<int64_t>(times.attr("Start"));
      info.end = py::cast<int64_t>(times.attr("End"));
      info.interval = py::cast<int64_t>(times.attr("Interval"));
      info.count = py::cast<int64_t>(times.attr("Count"));
      return info;
    });
  }
  int64_t IndexOfNearestBlock(KivTime time, bool first) override {
    return WithPython([&] { return py::cast<int64_t>(channel_->get().attr("GetIndexOfNearestBlock")(time, first)); });
  }
  int64_t IndexOfNextTime(int64_t block, KivTime time) override {
    return WithPython([&] { return py::cast<int64_t>(Data()[py::int_(block)].attr("IndexOfNextTime")(time)); });
  }
  int64_t IndexOfPreviousTime(int64_t block, KivTime time) override {
    return WithPython([&] { return py::cast<int64_t>(Data()[py::int_(block)].attr("IndexOfPreviousTime")(time)); });
  }
  void CopyTimes(int64_t block, int64_t first, int64_t count, KivTime* out) override {
    WithPython([&] {
      py::object times = Data()[py::int_(block)].attr("Times").attr("CopyToBuffer")(first, count);
      CopyOut(times, count, out);
    });
  }
  SharedValues BlockValues(int64_t block, int64_t first, int64_t count) override {
    return WithPython([&]() -> SharedValues {
      py::object values = py::getattr(Data()[py::int_(block)], "Values", py::none());
      if (values.is_none()) return {};
      auto array = py::array_t<double, py::array::c_style | py::array::forcecast>::ensure(values);
      if (!array || array.ndim() != 1 || first < 0 || first + count > array.shape(0))
        throw PluginError("a block's values of the wrong size");
      const double* data = array.data() + first;
      return {data, std::make_shared<PyRef>(std::move(array))};
    });
  }
  void Values(const KivTime* times, int64_t count, double* out) override {
    WithPython([&] {
      // The times cross as a view of the caller's array; the values come
      // back as one array.
      py::array_t<int64_t> view({static_cast<py::ssize_t>(count)}, {sizeof(int64_t)}, times, py::none());
      CopyOut(channel_->get().attr("GetValuesAtTimes")(view), count, out);
    });
  }
  void ValuesAtPeriod(KivTime start, KivTime interval, int64_t count, double* out) override {
    std::vector<KivTime> times(static_cast<size_t>(count));
    for (int64_t k = 0; k < count; ++k) times[static_cast<size_t>(k)] = start + interval * k;
    Values(times.data(), count, out);
  }

 private:
  py::object Data() const { return channel_->get().attr("Data"); }

  template <class T>
  static void CopyOut(const py::object& result, int64_t count, T* out) {
    auto array = py::array_t<T, py::array::c_style | py::array::forcecast>::ensure(result);
    if (!array || array.ndim() != 1 || array.shape(0) != count) throw PluginError("an array of the wrong size");
    std::memcpy(out, array.data(), static_cast<size_t>(count) * sizeof(T));
  }

  SharedPy channel_;
  OwnedSink sink_;
};

class PythonEventSet final : public PluginEventSet {
 public:
  explicit PythonEventSet(py::object set) : set_(std::make_shared<PyRef>(std::move(set))) {}

  void Listen(PluginDataListener* listener) override { ListenTo(set_->get(), sink_, listener); }

  int64_t Count() override { return WithPython([&] { return py::cast<int64_t>(set_->get().attr("Count")); }); }
  PluginEvent Event(int64_t index) override {
    return WithPython([&] {
      py::object e = set_->get()[py::int_(index)];
      PluginEvent event;
      event.time = py::cast<KivTime>(py::int_(e.attr("Time")));
      event.category = py::cast<int32_t>(py::int_(e.attr("Category")));
      event.source = Wide(e.attr("Source"));
      event.message = Wide(e.attr("Message"));
      for (py::handle line : e.attr("Information")) event.information.push_back(Wide(line));
      for (py::handle value : e.attr("Data")) event.data.push_back(py::cast<double>(py::float_(py::reinterpret_borrow<py::object>(value))));
      return event;
    });
  }

 private:
  SharedPy set_;
  OwnedSink sink_;
};

class PythonDataFactory final : public PluginDataFactory {
 public:
  PythonDataFactory(py::object factory, py::object root, PluginDataFactoryListener* listener)
      : factory_(std::move(factory)), root_(std::move(root)) {
    added_.handle = MakeSink(listener, [listener](const py::args& args) {
      listener->OnNamesAdded(Names(args[0]));
    });
    removed_.handle = MakeSink(listener, [listener](const py::args& args) {
      listener->OnNamesRemoved(Names(args[0]));
    });
    factory_.attr("Added").attr("append")(added_.handle.callable);
    factory_.attr("Removed").attr("append")(removed_.handle.callable);
    factory_.attr("Velmar") = root_;
  }
  ~PythonDataFactory() override {
    py::gil_scoped_acquire gil;
    factory_ = py::object();
    root_ = py::object();
  }

  PluginFactoryKind Kind() const override {
    return WithPython([&] {
      return py::cast<std::string>(factory_.attr("kind")) == "events" ? PluginFactoryKind::kEvents
                                                                     : PluginFactoryKind::kChannels;
    });
  }
  std::vector<std::u16string> Keys() override { return WithPython([&] { return Names(factory_.attr("Keys")); }); }
  bool Contains(const std::u16string& name) override {
    return WithPython([&] { return py::cast<bool>(factory_.attr("Contains")(WideToUtf8(name))); });
  }
  int32_t TaskCount() override {
    return WithPython([&] { return root_.is_none() ? 0 : static_cast<int32_t>(py::len(root_.attr("Tasks"))); });
  }
  int32_t SelectionCount(int32_t task) override {
    return WithPython([&] {
      return static_cast<int32_t>(py::len(root_.attr("Tasks")[py::int_(task - 1)].attr("DataSelections")));
    });
  }
  void SetDataSelection(int32_t task, int32_t selection) override {
    WithPython([&] {
      factory_.attr("DataSelection") =
          root_.attr("Tasks")[py::int_(task - 1)].attr("DataSelections")[py::int_(selection - 1)];
    });
  }
  void SetSelectionInputs(IKivUnknown* selection, IKivChannelFactory* inputs) override {
    WithPython([&] { factory_.attr("DataSelection") = MakeSelectionView(selection, inputs); });
  }
  std::unique_ptr<PluginChannel> Channel(const std::u16string& name) override {
    return WithPython([&]() -> std::unique_ptr<PluginChannel> {
      py::object item = factory_[py::str(WideToUtf8(name))];
      if (item.is_none()) return nullptr;
      return std::make_unique<PythonChannel>(std::move(item));
    });
  }
  std::unique_ptr<PluginEventSet> EventSet(const std::u16string& name) override {
    return WithPython([&]() -> std::unique_ptr<PluginEventSet> {
      py::object item = factory_[py::str(WideToUtf8(name))];
      if (item.is_none()) return nullptr;
      return std::make_unique<PythonEventSet>(std::move(item));
    });
  }
  SharedPluginPicture Icon(const std::u16string& name) override {
    return WithPython([&] {
      return PictureOf(HostModule().attr("picture")(factory_.attr("GetIcon")(WideToUtf8(name))));
    });
  }
  void Dispose() override {
    WithPython([&] {
      factory_.attr("Velmar") = py::none();
      factory_.attr("dispose")();
    });
  }

 private:
  static std::vector<std::u16string> Names(const py::handle& keys) {
    std::vector<std::u16string> names;
    for (py::handle key : keys) names.push_back(Wide(key));
    return names;
  }

  py::object factory_;
  py::object root_;
  OwnedSink added_;
  OwnedSink removed_;
};

class PythonBackend final : public PluginBackend {
 public:
  PluginModuleInfo LoadModule(const std::string& path) override {
    return WithPython([&] {
      py::tuple loaded = CallWithTimeLimit(HostModule().attr("load_module"), py::str(path), ImportTimeLimit());
      PluginModuleInfo info;
      info.containsTools = py::cast<bool>(loaded[0]);
      for (py::handle entry : loaded[1]) {
        auto t = py::reinterpret_borrow<py::tuple>(entry);
        PluginTypeInfo type{Wide(t[0]), Wide(t[1]), py::cast<uint32_t>(t[2])};
        // The library keeps the first module offering a type name, in file
        // order; so does the backend.
        if (info.containsTools && type.toolAttributes == 1 && !classes_.count(type.typeName)) {
          classes_.emplace(type.typeName, std::make_shared<PyRef>(py::reinterpret_borrow<py::object>(t[3])));
        }
        info.types.push_back(std::move(type));
      }
      return info;
    });
  }

  bool IsDisposable(const std::u16string& typeName) override { return Ask("is_disposable", typeName); }
  bool SupportsPersistence(const std::u16string& typeName) override { return Ask("supports_persistence", typeName); }
  bool IsTool(const std::u16string& typeName) override { return Ask("is_tool", typeName); }
  bool IsDataFactory(const std::u16string& typeName) override { return Ask("is_data_factory", typeName); }
  bool IsEventsFactory(const std::u16string& typeName) override { return Ask("is_events_factory", typeName); }

  std::unique_ptr<PluginTool> CreateTool(const std::u16string& typeName, const std::vector<uint8_t>* state,
                                         PluginToolListener* listener, IKivUnknown* root) override {
    const SharedPy cls = Class(typeName);
    if (!cls) return nullptr;
    return WithPython([&]() -> std::unique_ptr<PluginTool> {
      py::object saved = state ? py::object(py::bytes(reinterpret_cast<const char*>(state->data()), state->size()))
                               : py::object(py::none());
      py::object tool;
      try {
        tool = HostModule().attr("make")(cls->get(), saved);
      } catch (const py::error_already_set&) {
        if (!state) throw;
        return nullptr;  // a state that doesn't load: the caller starts fresh
      }
      tool.attr("Velmar") = MakeRootView(root);
      return std::make_unique<PythonTool>(std::move(tool), listener);
    });
  }

  std::unique_ptr<PluginDataFactory> CreateDataFactory(const std::u16string& typeName,
                                                       PluginDataFactoryListener* listener,
                                                       IKivUnknown* root) override {
    const SharedPy cls = Class(typeName);
    if (!cls) return nullptr;
    return WithPython([&] {
      py::object factory = HostModule().attr("make")(cls->get(), py::none());
      return std::make_unique<PythonDataFactory>(std::move(factory), MakeRootView(root), listener);
    });
  }

 private:
  SharedPy Class(const std::u16string& typeName) const {
    auto it = classes_.find(typeName);
    return it == classes_.end() ? nullptr : it->second;
  }
  bool Ask(const char* what, const std::u16string& typeName) {
    const SharedPy cls = Class(typeName);
    if (!cls) return false;
    return WithPython([&] { return py::cast<bool>(HostModule().attr(what)(cls->get())); });
  }

  std::map<std::u16string, SharedPy> classes_;
};

}  // namespace
}  // namespace velmar::managed::python

namespace velmar::managed {

std::unique_ptr<PluginBackend> MakePythonBackend() { return std::make_unique<python::PythonBackend>(); }

}  // namespace velmar::managed
