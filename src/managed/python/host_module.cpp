#include "managed/python/host_module.h"

#include <cstdio>

#include <pybind11/numpy.h>
#include <pybind11/stl.h>

#include "velmar/channel.h"
#include "velmar/classes.h"
#include "velmar/data_factory.h"
#include "velmar/data_selection.h"
#include "velmar/outing.h"
#include "velmar/tasks.h"
#include "velmar/text.h"
#include "velmar/time_regions.h"
#include "velmar/velmar.h"

namespace velmar::managed::python {
namespace {

ComPtr<IKivUnknown>& PendingInput() {
  static ComPtr<IKivUnknown> input;
  return input;
}

[[noreturn]] void Raise(const std::string& what, KivResult r) {
  char code[16];
  std::snprintf(code, sizeof code, "0x%08X", static_cast<unsigned>(r));
  throw std::runtime_error(what + " (" + code + ")");
}

std::string Utf8(const std::u16string& text) { return WideToUtf8(text); }

// One data selection as Python sees it.
class SelectionView {
 public:
  explicit SelectionView(ComPtr<IKivDataSelection4> selection, ComPtr<IKivChannelFactory> inputs = nullptr)
      : selection_(std::move(selection)), inputs_(std::move(inputs)) {}

  std::string Caption() const {
    std::u16string caption;
    (void)selection_->GetCaption(&caption);
    return Utf8(caption);
  }

  // The channels a plug-in reads: its inputs when the selection gave some,
  // else those of the selection's outing. (The selection itself lists the
  // plug-ins' channels too, which would ask the plug-in back.)
  ComPtr<IKivChannelFactory> Recorded() const {
    if (inputs_) return inputs_;
    ComPtr<IKivOuting> outing;
    if (Failed(selection_->GetOuting(outing.Put())) || !outing) return nullptr;
    return QueryAs<IKivChannelFactory>(outing.Get());
  }

  std::vector<std::string> ChannelNames() const {
    auto factory = Recorded();
    NameList names;
    if (!factory || Failed(factory->GetNames(&names))) return {};
    std::vector<std::string> out;
    for (const auto& name : names) out.push_back(Utf8(name));
    return out;
  }

  // (times in ticks, values), every block joined.
  py::tuple ReadChannel(const std::string& name) const {
    auto factory = Recorded();
    ComPtr<IKivChannel> channel;
    if (!factory) throw std::runtime_error("the selection offers no channels");
    if (KivResult r = factory->GetItem(Utf8ToWide(name), channel.Put()); Failed(r) || !channel)
      Raise("no channel \"" + name + "\"", r);
    ComPtr<IKivChannelIterator2> iterator;
    if (KivResult r = channel->GetIterator(iterator.Put()); Failed(r)) {
      if (r == KIV_E_PENDING) {
        PendingInput() = ComPtr<IKivUnknown>(static_cast<IKivUnknown*>(channel.Get()));
        PyErr_SetString(py::module_::import("kivara.tools").attr("DataPending").ptr(), name.c_str());
        throw py::error_already_set();
      }
      Raise("channel \"" + name + "\" not read", r);
    }
    ComPtr<IKivDataBlocks> blocks;
    uint32_t count = 0;
    if (Failed(iterator->GetDataBlocks(blocks.Put())) || Failed(blocks->GetCount(&count)))
      throw std::runtime_error("channel \"" + name + "\" has no blocks");
    std::vector<KivTime> times;
    std::vector<double> values;
    for (uint32_t b = 1; b <= count; ++b) {
      ComPtr<IKivDataBlock> block;
      std::vector<KivTime> t;
      std::vector<double> v;
      if (Failed(blocks->GetBlock(b, block.Put())) || Failed(block->GetTimes(&t)) || Failed(block->GetValues(&v)))
        throw std::runtime_error("channel \"" + name + "\": a block can't be read");
      times.insert(times.end(), t.begin(), t.end());
      values.insert(values.end(), v.begin(), v.end());
    }
    return py::make_tuple(py::array_t<int64_t>(static_cast<py::ssize_t>(times.size()), times.data()),
                          py::array_t<double>(static_cast<py::ssize_t>(values.size()), values.data()));
  }

  // [(name, start, end)] of the selection's outing, in order.
  std::vector<py::tuple> Laps() const {
    ComPtr<IKivOuting> outing;
    ComPtr<IKivTimeRegionFinder2> finder;
    if (Failed(selection_->GetOuting(outing.Put())) || !outing) return {};
    if (Failed(KivCreateInstance(CLSID_KivLapFinder, &finder)) || Failed(finder->SetOuting(outing.Get()))) return {};
    ComPtr<IKivTimeRegions> regions;
    int32_t count = 0;
    if (Failed(finder->GetRegions(regions.Put())) || !regions || Failed(regions->GetCount(&count))) return {};
    std::vector<py::tuple> laps;
    for (int32_t i = 1; i <= count; ++i) {
      std::u16string name;
      KivTime start = 0;
      KivTime end = 0;
      if (Failed(regions->GetName(i, i, &name)) || Failed(regions->GetStart(i, &start)) ||
          Failed(regions->GetEnd(i, &end)))
        continue;
      laps.push_back(py::make_tuple(Utf8(name), start, end));
    }
    return laps;
  }

 private:
  ComPtr<IKivDataSelection4> selection_;
  ComPtr<IKivChannelFactory> inputs_;
};

class TaskView {
 public:
  explicit TaskView(ComPtr<IKivTask> task) : task_(std::move(task)) {}

  std::vector<SelectionView> DataSelections() const {
    ComPtr<IKivDataSelections> selections;
    int32_t count = 0;
    std::vector<SelectionView> out;
    if (Failed(task_->GetSelections(selections.Put())) || Failed(selections->GetCount(&count))) return out;
    for (int32_t i = 1; i <= count; ++i) {
      ComPtr<IKivDataSelection4> selection;
      if (Succeeded(selections->GetItem(i, selection.Put())) && selection) out.emplace_back(selection);
    }
    return out;
  }

  py::object ActiveSelection() const {
    ComPtr<IKivDataSelection4> selection;
    if (Failed(task_->GetActiveSelection(selection.Put())) || !selection) return py::none();
    return py::cast(SelectionView(selection));
  }

  std::string Name() const {
    std::u16string name;
    (void)task_->GetName(&name);
    return Utf8(name);
  }

 private:
  ComPtr<IKivTask> task_;
};

class RootView {
 public:
  explicit RootView(ComPtr<IKivVelmar> root) : root_(std::move(root)) {}

  std::vector<TaskView> Tasks() const {
    ComPtr<IKivTasks> tasks;
    int32_t count = 0;
    std::vector<TaskView> out;
    if (Failed(root_->GetTasks(tasks.Put())) || Failed(tasks->GetCount(&count))) return out;
    for (int32_t i = 1; i <= count; ++i) {
      ComPtr<IKivTask> task;
      if (Succeeded(tasks->GetItem(i, task.Put())) && task) out.emplace_back(task);
    }
    return out;
  }

 private:
  ComPtr<IKivVelmar> root_;
};

void Bind(py::module_& m) {
  py::class_<NativeSink, std::shared_ptr<NativeSink>>(m, "NativeSink").def("__call__", &NativeSink::operator());
  py::class_<SelectionView>(m, "DataSelection")
      .def_property_readonly("Caption", &SelectionView::Caption)
      .def("ChannelNames", &SelectionView::ChannelNames)
      .def("ReadChannel", &SelectionView::ReadChannel)
      .def("Laps", &SelectionView::Laps);
  py::class_<TaskView>(m, "Task")
      .def_property_readonly("Name", &TaskView::Name)
      .def_property_readonly("DataSelections", &TaskView::DataSelections)
      .def_property_readonly("ActiveSelection", &TaskView::ActiveSelection);
  py::class_<RootView>(m, "Velmar").def_property_readonly("Tasks", &RootView::Tasks);
}

}  // namespace

void NativeSink::operator()(const py::args& args) {
  if (!call_) {
    char text[32];
    std::snprintf(text, sizeof text, "%p", target_);
    throw std::runtime_error(
        std::string("Delegate call failed: Native sink was not attached or has already detached from the managed "
                    "proxy (m_p_native_target =") +
        text + ")");
  }
  const Target call = call_;  // the call may detach this sink
  call(args);
}

ComPtr<IKivUnknown> TakePendingInput() { return std::move(PendingInput()); }

SinkHandle MakeSink(const void* target, NativeSink::Target call) {
  auto sink = std::make_shared<NativeSink>(target, std::move(call));
  return {sink, py::cast(sink)};
}

void RegisterHostModule() {
  py::module_ sys = py::module_::import("sys");
  py::dict modules = sys.attr("modules");
  if (modules.contains("_velmar_host")) return;
  static PyModuleDef definition{};
  py::module_ m = py::module_::create_extension_module("_velmar_host", nullptr, &definition);
  Bind(m);
  modules["_velmar_host"] = m;
}

py::object MakeSelectionView(IKivUnknown* selection, IKivChannelFactory* inputs) {
  auto view = QueryAs<IKivDataSelection4>(selection);
  if (!view) return py::none();
  return py::cast(SelectionView(view, ComPtr<IKivChannelFactory>(inputs)));
}

py::object MakeRootView(IKivUnknown* root) {
  auto velmar = QueryAs<IKivVelmar>(root);
  if (!velmar) return py::none();
  return py::cast(RootView(velmar));
}

}  // namespace velmar::managed::python
