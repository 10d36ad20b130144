// Data factory add-ins: the list of those available (the data factory
// category, by short name with a leading "Kivara " dropped), and the add-in
// manager's rows: available, not mandatory, allowed by the branding; the
// running ones first in their order and checked, the others by name.
//
// Client thread, apart from the available list (built once, under a lock).
#pragma once

#include <functional>
#include <vector>

#include "core/data_factory_record.h"
#include "velmar/addin_manager.h"
#include "velmar/class_registry.h"

namespace velmar {

// The native add-ins of `registry`'s data factory category, in its order;
// an error reading the category gives none.
std::vector<KivAddInRow> ReadAvailableDataFactories(const ClassRegistry& registry);
// The process's list: the native ones read from the process class table at
// the first call and kept to the end of the process, then the plug-in ones
// the plug-in layer has found.
std::vector<KivAddInRow> AvailableDataFactories();

// A name without its leading "Kivara ", any letter case.
std::u16string StripKivaraPrefix(std::u16string name);

DataFactoryRecord RecordOf(const KivAddInRow& row);

// Rows for the dialog. `shown` says whether a record may have a row (not
// mandatory, allowed); `working` lists the running ones in order.
std::vector<KivAddInRow> MakeAddInRows(std::vector<KivAddInRow> available, const DataFactoryRecords& working,
                                       const std::function<bool(const DataFactoryRecord&)>& shown);
// The checked rows' records, in row order.
DataFactoryRecords CheckedRecords(const KivAddInManager& model);

// The host's dialog in force (empty without one).
KivAddInManagerDialog CurrentAddInManagerDialog();

}  // namespace velmar
