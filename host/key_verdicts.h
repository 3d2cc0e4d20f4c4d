// What is decided in the same way for a key, for each key that a search finds, and for the key of a value.
#pragma once

#include <string>

#include "key_place.h"
#include "look.h"

namespace prodsweep {

// True: the item is settled, since nobody should delete this key. The item knows already where the key leads.
bool IsForbidden(PlannedItem& item, const KeyPlace& place, const LookContext& context);

// True: the item is settled, since a key around it goes before.
bool IsGone(PlannedItem& item, const KeyPlace& place, const LookContext& context);

// what: "it", or which key of the item.
void FailForAccess(PlannedItem& item, const std::string& what);

// Goes through a key that is there, and is not in use as the descriptor spells it, as the deletion will.
void LookInto(PlannedItem& item, const KeyPlace& place, bool x32view, const LookContext& context);

} // namespace prodsweep
