#include "core/module/built_in_classes.h"

#include <mutex>
#include <string>

#include "config/config_classes.h"
#include "core/velmar.h"
#include "outing/factory/outing_factory.h"
#include "regions/regions_classes.h"
#include "sources/autoupdate/autoupdate.h"
#include "sources/matfile/matlab_outing.h"
#include "sources/spreadsheet/excel_outing.h"
#include "sources/realtime/rt_outing.h"
#include "sources/tarn/tarn_outing.h"
#include "sources/text/text_outing_source.h"
#include "tasks/tasks.h"
#include "velmar/classes.h"

namespace velmar {
namespace {

// Table rows with no class behind them yet keep their names, so that
// program ids resolve and creation says plainly that the class is missing.
KivResult EnterMissingRows(ClassRegistry& registry) {
  for (const KivClassRow& row : kKivClassTable) {
    std::u16string progId;
    if (registry.ClsidToProgId(row.clsid, &progId) != REGDB_E_CLASSNOTREG) continue;
    ClassRegistry::ClassInfo info;
    info.clsid = row.clsid;
    info.prog_id = u"KivVelmar." + std::u16string(row.word) + u".1";
    info.display_name = row.word;
    if (KivResult r = registry.Register(std::move(info)); Failed(r)) return r;
  }
  return S_OK;
}

}  // namespace

KivResult RegisterBuiltInClasses(ClassRegistry& registry) {
  const KivResult results[] = {
      RegisterVelmarClasses(registry),   RegisterOutingFactoryClass(registry), RegisterRegionsClasses(registry),
      RegisterConfigClasses(registry),   RegisterTasksClasses(registry),       EnterMissingRows(registry),
      RegisterTextOutingSource(),        RegisterTarnOutingSource(),           RegisterRealtimeOutingSource(),
      RegisterMatlabOutingSource(),      RegisterExcelOutingSource(),
      RegisterAutoupdate(),
  };
  for (KivResult r : results) {
    if (Failed(r)) return r;
  }
  return S_OK;
}

KivResult KivRegisterBuiltInClasses() {
  static std::once_flag once;
  static KivResult result = S_OK;
  std::call_once(once, [] { result = RegisterBuiltInClasses(ClassRegistry::Process()); });
  return result;
}

KivResult KivCreateInstance(const Guid& clsid, const Guid& iid, void** out) {
  if (!out) return E_POINTER;
  *out = nullptr;
  if (KivResult r = KivRegisterBuiltInClasses(); Failed(r)) return r;
  const KivResult r = ClassRegistry::Process().CreateInstance(clsid, iid, out);
  // As a module's class factory would answer for an identity it does not serve.
  return r == REGDB_E_CLASSNOTREG ? CLASS_E_CLASSNOTAVAILABLE : r;
}

}  // namespace velmar
