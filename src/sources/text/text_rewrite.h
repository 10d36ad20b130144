// Rewrites of the head of a text data set: new information, events merged
// in or taken out, a constant added, changed or removed. Each takes the
// file's bytes and index and gives the whole new file; the blocks it does
// not touch are carried over byte for byte. Every rewrite writes the
// versioned magic.
#pragma once

#include <span>
#include <string>
#include <string_view>

#include "sources/text/text_format.h"
#include "sources/text/text_scan.h"
#include "sources/text/text_status.h"
#include "sources/text/text_structures.h"

namespace velmar {

// The properties' lines take the place of their keys: the other lines stay
// in their order, the new ones follow in the list's order. Properties not in
// the information key table, or with a value of the wrong kind, are not
// written; a property with an empty text takes its key out.
TextStatus RewriteInformation(std::string_view bytes, const TextIndex& index,
                              std::span<const InformationProperty> properties, std::string* out);

// A new event block straight behind the information: the file's events
// (at their file times) merged with added (at time - base; first at equal
// times), without the removed ones (an event added in analysis with the same
// time and name as one of them). The old event blocks are dropped.
TextStatus RewriteEvents(std::string_view bytes, const TextIndex& index, std::span<const TextEvent> added,
                         KivTime base, std::span<const TextEvent> removed, std::string* out);

enum class ConstantEdit { kAdd = 0, kModify = 1, kRemove = 2 };

// A new constant block straight behind the information: the file's
// constants without the one of this name, then, unless removing, the new one.
TextStatus RewriteConstant(std::string_view bytes, const TextIndex& index, ConstantEdit kind,
                           const TextConstant& constant, std::string* out);

// Whether the file's events hold one with the same time, name and source.
bool HasEvent(const std::vector<TextEvent>& events, const TextEvent& event);

}  // namespace velmar
