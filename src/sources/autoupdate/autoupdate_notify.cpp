#include "sources/autoupdate/autoupdate_notify.h"

#include "outing/factory/outing_factory.h"
#include "regions/regions_classes.h"
#include "sources/autoupdate/autoupdate_jobs.h"
#include "sources/autoupdate/autoupdate_scan.h"
#include "sources/autoupdate/next_colour.h"
#include "velmar/class_registry.h"
#include "velmar/classes.h"
#include "velmar/text.h"

namespace velmar {
namespace {

// The extension of the path's last component, without the dot; empty for none.
std::u16string ExtensionOf(const std::u16string& path) {
  const size_t slash = path.find_last_of(u'/');
  const size_t dot = path.find_last_of(u'.');
  if (dot == std::u16string::npos || (slash != std::u16string::npos && dot < slash)) return {};
  return path.substr(dot + 1);
}

int32_t SelectionCount(IKivTask* task) {
  ComPtr<IKivDataSelections> selections;
  int32_t count = 0;
  if (Failed(task->GetSelections(selections.Put())) || Failed(selections->GetCount(&count))) return 0;
  return count;
}

// The index (from 1) of `wanted` among the task's selections; 0 when absent.
int32_t IndexOf(IKivTask* task, IKivDataSelection4* wanted) {
  ComPtr<IKivDataSelections> selections;
  if (Failed(task->GetSelections(selections.Put()))) return 0;
  const int32_t count = SelectionCount(task);
  for (int32_t i = 1; i <= count; ++i) {
    ComPtr<IKivDataSelection4> selection;
    if (Succeeded(selections->GetItem(i, selection.Put())) && selection.Get() == wanted) return i;
  }
  return 0;
}

}  // namespace

KivResult MakeRegionsObject(const Guid& clsid, ComPtr<IKivUnknown>* out) {
  if (Succeeded(ClassRegistry::Process().CreateInstance(clsid, IKivUnknown::iid, out->PutVoid()))) return S_OK;
  return CreateRegionsClass(clsid, out->Put());
}

KivResult CAutoupdateNotifyStateMachine::Init() {
  ComPtr<IKivUnknown> made;
  if (Failed(ClassRegistry::Process().CreateInstance(CLSID_KivOutingFactory, IKivUnknown::iid, made.PutVoid()))) {
    if (KivResult r = CreateOutingFactory(made.Put()); Failed(r)) return r;
  }
  factory_ = made.As<IKivNewOutingFactory>();
  if (!factory_) return E_NOINTERFACE;
  return factory_->GetTypes(&types_);
}

void CAutoupdateNotifyStateMachine::JobCompleted(CJobItem* job) {
  auto* found = dynamic_cast<CAutoupdateNotifyJob*>(job);
  if (closed_ || !found) return;
  ComPtr<CStateMachineEx> keep(this);  // a change of the task's watch may let go of it
  OnNewFile(found->name());
}

void CAutoupdateNotifyStateMachine::OnLastClientRelease() {
  // A notify job may hold the machine past this, up to a worker thread:
  // what is the client thread's goes now.
  closed_ = true;
  task_ = nullptr;
  factory_ = nullptr;
}

void CAutoupdateNotifyStateMachine::OnNewFile(const std::u16string& name) {
  std::u16string folder;
  if (Failed(task_->GetWatchFolder(&folder)) || folder.empty()) return;
  const std::u16string path = folder + name;
  uint32_t mode = 0;
  (void)task_->GetWatchMode(&mode);
  if (mode == kWatchEachFile) {
    (void)AddSelection(path);
  } else if (mode == kWatchNewest) {
    ComPtr<IKivDataSelection4> followed;
    if (Failed(task_->GetWatchSelection(followed.Put())))
      FollowNewest(folder, path);
    else
      ReplaceOuting(path, IndexOf(task_, followed.Get()));
  }
}

void CAutoupdateNotifyStateMachine::FollowNewest(const std::u16string& folder, const std::u16string& path) {
  if (!AddSelection(path)) return;
  // From now on the watch follows the new selection.
  (void)task_->Update(kTaskWatch, nullptr, 0, 0, u"", u"", 0, folder, SelectionCount(task_), KIV_TRUE, kWatchNewest,
                      nullptr);
}

ComPtr<IKivOuting> CAutoupdateNotifyStateMachine::OpenFile(const std::u16string& path) {
  const std::u16string extension = ExtensionOf(path);
  if (extension.empty() || !factory_) return nullptr;
  for (const OutingTypeRecord& row : types_) {
    if (!EqualsNoCase(row.extension, extension)) continue;
    const Variant paths = MakeTextArray({path});
    OutingList outings;
    if (Failed(factory_->Create(KIV_FALSE, row.typeId, &paths, &outings)) || outings.size() != 1) return nullptr;
    return outings.front();
  }
  return nullptr;
}

bool CAutoupdateNotifyStateMachine::AddSelection(const std::u16string& path) {
  ComPtr<IKivOuting> outing = OpenFile(path);
  if (!outing) return false;
  const bool first = SelectionCount(task_) == 0;
  DataSelectionList added;
  if (Failed(task_->Update(first ? kTaskAddSelections | kTaskSecondSelection : kTaskAddSelections, nullptr, 1,
                           first ? 1 : 0, u"", u"", 0, u"", 0, KIV_FALSE, 1, &added)) ||
      added.size() != 1)
    return false;
  IKivDataSelection4* selection = added.front().Get();
  ComPtr<IKivUnknown> navigatorObject, finderObject;
  if (Failed(MakeRegionsObject(CLSID_KivTimeRegionNavigator, &navigatorObject)) ||
      Failed(MakeRegionsObject(CLSID_KivLapFinder, &finderObject)))
    return false;
  auto navigator = navigatorObject.As<IKivTimeRegionNavigator>();
  auto finder = finderObject.As<IKivTimeRegionFinder>();
  if (!navigator || !finder) return false;
  (void)navigator->SetFinder(finder.Get());
  const uint32_t colour = NextColour(task_, selection);
  if (Failed(selection->Update(kSelectionColour | kSelectionNavigator | kSelectionOuting | kSelectionSpan,
                               outing.Get(), navigator.Get(), colour, 0, 0, KIV_FALSE)))
    return false;
  ComPtr<IKivOuting> held;
  if (selection->GetOuting(held.Put()) == S_OK && held) {
    (void)held->CloseData();
    (void)finder->SetOuting(held.Get());
  }
  SelectDefaultRegion(selection);
  task_->WatchTookFile(path);
  return true;
}

void CAutoupdateNotifyStateMachine::ReplaceOuting(const std::u16string& path, int32_t index) {
  ComPtr<IKivOuting> outing = OpenFile(path);
  ComPtr<IKivDataSelections> selections;
  ComPtr<IKivDataSelection4> selection;
  if (!outing || Failed(task_->GetSelections(selections.Put())) ||
      Failed(selections->GetItem(index, selection.Put())))
    return;
  ComPtr<IKivOuting> present;
  std::u16string presentPath;
  if (selection->GetOuting(present.Put()) == S_OK && present && Succeeded(present->GetFileName(&presentPath)) &&
      presentPath == path) {
    // The same file rewritten: read it afresh, keep the selection's outing.
    (void)present->CloseData();
    uint32_t mode = 0;
    if (Succeeded(task_->GetDefaultRegionMode(&mode)) && mode != 1) SelectDefaultRegion(selection.Get());
  } else {
    (void)selection->Update(kSelectionOuting, outing.Get(), nullptr, 0, 0, 0, KIV_FALSE);
  }
  task_->WatchTookFile(path);
}

void CAutoupdateNotifyStateMachine::SelectDefaultRegion(IKivDataSelection* selection) {
  ComPtr<IKivTimeRegionNavigator> navigator;
  if (Failed(selection->GetNavigator(navigator.Put()))) return;
  auto navigator2 = navigator.As<IKivTimeRegionNavigator2>();
  if (!navigator2) return;
  uint32_t mode = 0;
  (void)task_->GetDefaultRegionMode(&mode);
  if (mode == 2)
    (void)navigator2->SelectLastCompleteRegion(selection);
  else if (mode == 4)
    (void)navigator2->SelectWholeSpan(selection);
  else
    (void)navigator2->SelectDefaultRegion(selection);
}

}  // namespace velmar
