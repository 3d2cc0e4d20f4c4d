#include "key_verdicts.h"
#include "text.h"

namespace prodsweep {

namespace {

bool IsThere(PlannedItem& item, const KeyPlace& place)
{
    UniqueRegKey key;
    const LSTATUS status = OpenPlace(place, KEY_READ, key);
    if (status == ERROR_SUCCESS && MayBeDeleted(place))
        return true;
    item.state = ItemState::Absent;
    if (status == ERROR_SUCCESS || status == ERROR_ACCESS_DENIED)
        FailForAccess(item, "it");
    return false;
}

} // namespace

void LookAtKey(PlannedItem& item, const CachedRegItem& key, const LookContext& context)
{
    item.kind = ItemKind::Key;
    KeyPlace place;
    if (!SplitPlace(key.key, place))
    {
        item.state = ItemState::Absent;
        item.reason = "it begins with no known hive; their names are in capitals";
        return;
    }
    item.leadsTo = ToUtf8(LeadsElsewhere(place));
    if (IsForbidden(item, place, context) || !IsThere(item, place) || IsGone(item, place, context))
        return;
    // The descriptor's own spelling is asked about first, then the long one.
    item.user = context.users.OfKey(key.key, key.x32view);
    if (!item.user.empty())
        item.state = ItemState::InUse;
    else
        LookInto(item, place, key.x32view, context);
}

} // namespace prodsweep
