#include "key_verdicts.h"

#include "text.h"

namespace prodsweep {

bool IsForbidden(PlannedItem& item, const KeyPlace& place, const LookContext& context)
{
    const ForbiddenPlace* const forbidden = context.forbidden.OfKey(place.hive, place.subkey);
    if (forbidden == nullptr)
        return false;
    context.Endanger(item.name, item.leadsTo.empty() ? ToUtf8(place.full) : item.leadsTo, *forbidden);
    item.state = ItemState::Present;
    item.contents.complete = false;
    item.reason = "it must not go, so it was not looked into";
    return true;
}

bool IsGone(PlannedItem& item, const KeyPlace& place, const LookContext& context)
{
    const std::wstring by = context.swept.TakesKey(place.full);
    if (by.empty())
        return false;
    item.state = ItemState::GoesWith;
    item.by = ToUtf8(by);
    return true;
}

void FailForAccess(PlannedItem& item, const std::string& what)
{
    item.state = ItemState::Fails;
    item.reason = "access to " + what + " is denied, which the removal takes for absence";
}

} // namespace prodsweep
