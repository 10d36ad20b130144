#include "managed/tool_locator.h"

#include "managed/python_module.h"
#include "managed/root_addins.h"

namespace velmar::managed {
namespace {

// Never destroyed: the interpreter is never finalised, and a Python host may
// already have shut it down when static destructors run.
std::unique_ptr<ManagedRuntime>& Slot() {
  static auto* runtime = new std::unique_ptr<ManagedRuntime>();
  return *runtime;
}

// The holder's descriptions and its dirty flag.
struct CToolDescHolder {
  std::vector<CToolDesc> descs;
  bool dirty = true;
};

CToolDescHolder& Holder() {
  static CToolDescHolder holder;
  return holder;
}

}  // namespace


ManagedRuntime& ManagedRuntime::Process() {
  if (!Slot()) SetBackend(nullptr);
  return *Slot();
}

void ManagedRuntime::SetBackend(std::unique_ptr<PluginBackend> backend) {
  if (!backend) backend = LoadPythonBackend();
  Slot().reset(new ManagedRuntime(std::move(backend)));
  RootAddInBridge::Install();  // from now on the roots make plug-in entries
  CDotNetToolLocator::MarkDirty();
}

std::vector<CToolDesc> CDotNetToolLocator::FindTools() {
  CToolDescHolder& holder = Holder();
  if (holder.dirty) {
    holder.descs.clear();
    for (const ToolTypeDescription& d : ManagedRuntime::Process().library().ToolTypeDescriptions()) {
      holder.descs.push_back({CToolId{1, d.m_typeName}, d.m_name});
    }
    holder.dirty = false;
  }
  return holder.descs;
}

void CDotNetToolLocator::MarkDirty() {
  Holder().dirty = true;
  if (Slot()) Slot()->library().MarkDirty();
}

}  // namespace velmar::managed
