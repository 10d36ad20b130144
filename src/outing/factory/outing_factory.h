// COutingFactory: the one way in to outings. It finds the row of a type in
// the type table, opens an outing object on each path through the row's
// source (outing_source.h), which finds or makes the path's cache, falls
// back to the empty outing for a path with no file, hands types it does not
// know to the add-in factories, and keeps the fast-lap settings.
//
// IKivOutingFactory and every generation of IKivNewOutingFactory are one
// object. Client thread only: the registries and sources it uses are the
// client thread's.
#pragma once

#include <optional>
#include <string>

#include "outing/factory/outing_factory_addins.h"
#include "outing/factory/outing_type_table.h"
#include "outing/factory/text_array.h"
#include "velmar/class_registry.h"
#include "velmar/outing_factory.h"
#include "velmar/unknown.h"

namespace velmar {

class COutingFactory final : public KivObject<IKivNewOutingFactory5, IKivOutingFactory> {
 public:
  // Reads the stored fast-lap settings and hands them to every source.
  explicit COutingFactory(COutingFactoryAddIns& addIns = COutingFactoryAddIns::Process());

  // --- IKivOutingFactory ----------------------------------------------------
  KivResult CreateOutings(KivBool create, int32_t typeIndex, const Variant* paths, OutingList* outings) override;
  // --- IKivNewOutingFactory..5 ----------------------------------------------
  KivResult Create(KivBool create, const std::u16string& typeId, const Variant* paths, OutingList* outings) override;
  KivResult GetTypes(OutingTypeList* types) override;
  KivResult GetFastLapFilterEnabled(KivBool* enabled) override;
  KivResult SetFastLapFilterEnabled(KivBool enabled) override;
  KivResult GetFastLapMinimumTime(KivTime* minimum) override;
  KivResult SetFastLapMinimumTime(KivTime minimum) override;
  KivResult CreateEx(KivBool create, KivBool overrideProperties, const std::u16string& typeId, const Variant* paths,
                     OutingList* outings) override;
  KivResult SetAddInOrder(const Variant* classIds) override;
  KivResult IsRealTimeType(const std::u16string& typeId, KivBool* realTime) override;
  KivResult SupportsType(const std::u16string& typeId, KivBool* supported) override;

 private:
  // Steps 3 to 5 of CreateEx for a row of the table.
  [[nodiscard]] KivResult CreateBuiltIn(const OutingTypeRow& row, bool create, bool overrideProperties,
                                        const TextArray& paths, OutingList* outings);
  // One path of a row: its outing, and whether the path counts as present.
  [[nodiscard]] KivResult OpenPath(const OutingTypeRow& row, bool create, bool overrideProperties,
                                   const std::optional<std::u16string>& path, ComPtr<IKivOuting>* outing,
                                   bool* present);
  // A type the table does not hold: the add-ins, else empty outings.
  [[nodiscard]] KivResult CreateByAddIn(bool create, bool overrideProperties, const std::u16string& typeId,
                                        const Guid& type, const Variant& paths, const TextArray& texts,
                                        OutingList* outings);

  COutingFactoryAddIns& addIns_;
};

// A new outing factory over the process's add-ins (a class table's creation function).
[[nodiscard]] KivResult CreateOutingFactory(IKivUnknown** out);
// Registers the outing factory ("KivVelmar.OutingFactory.1") in a class registry.
[[nodiscard]] KivResult RegisterOutingFactoryClass(ClassRegistry& registry);

}  // namespace velmar
