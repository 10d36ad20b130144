// The colour a folder watch gives a selection it adds: the first colour of
// the table that no selection of the task has yet.
#pragma once

#include <cstdint>
#include <vector>

#include "velmar/colour_table.h"
#include "velmar/tasks.h"

namespace velmar {

// The colour table's index (from 1) for a new selection, given the colours
// the other selections have, the count of selections with the new one, and
// the table's colours in order. With every index in use: the count modulo
// the table's size, where 0 stands for the last index. 0 for an empty table.
int32_t NextColourIndex(const std::vector<uint32_t>& otherColours, size_t selectionCount,
                        const std::vector<uint32_t>& table);

// The table's colours in order; empty when it can't be read.
std::vector<uint32_t> ReadColourTable(IKivColourTable* table);

// The colour for `added`, the task's newest selection, out of its root's
// colour table; 255 when there is no table, or nothing in it.
uint32_t NextColour(IKivTask* task, IKivDataSelection* added);

}  // namespace velmar
