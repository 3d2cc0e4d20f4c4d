#include <algorithm>
#include <vector>

#include "key_verdicts.h"
#include "registry/reg_key_helper.h"
#include "text.h"

namespace prodsweep {

namespace {

// The empty text is in every value, and a list that ends in a separator ends in one: such a search takes nearly all
// keys below the one that it starts at, so it is judged as if it took that one. True: the item is settled.
bool IsForbiddenForItsEmptyText(PlannedItem& item, const CachedRegKeySearch& search, const KeyPlace& start,
                                const LookContext& context)
{
    if (std::find(search.data.begin(), search.data.end(), L"") == search.data.end())
        return false;
    context.Warn(item.name, search.complete
                                ? "It also searches for the empty text, which every empty value is equal to."
                                : "It also searches for the empty text, which is in every value.");
    return IsForbidden(item, start, context);
}

// Each key that the search finds, which are the first of their branches in the list.
std::vector<KeyPlace> FoundKeys(const CachedRegKeySearch& search)
{
    UsedRegItemList keys;
    UsedRegItemList values;
    static_cast<void>(
        CRegKeyHelper::ExpandKeySearch(search.key.c_str(), search.data, search.complete, search.x32view, keys, values));
    std::vector<KeyPlace> found;
    for (const UsedRegItem& key : keys)
    {
        KeyPlace place;
        const bool isBelow = !found.empty() && key.path.starts_with(found.back().full + L'\\');
        if (!isBelow && SplitPlace(key.path, place))
            found.push_back(std::move(place));
    }
    return found;
}

std::string SearchedTexts(const CachedRegKeySearch& search)
{
    std::string text = search.complete ? "values equal to" : "values that hold";
    for (std::size_t i = 0; i < search.data.size(); ++i)
        text += (i == 0 ? " \"" : " or \"") + ToUtf8(search.data[i]) + '"';
    return text;
}

void AddFound(PlannedItem& item, const PlannedItem& found)
{
    AddPart(item, {PlannedPart::Kind::Key, found.name, found.state, found.user, found.leadsTo});
    item.contents.links += found.contents.links;
    item.contents.keys += found.contents.keys;
    item.contents.values += found.contents.values;
    item.contents.inUse += found.contents.inUse;
    item.contents.complete = item.contents.complete && found.contents.complete;
    item.mark += found.name + found.leadsTo + found.mark;
    for (const PlannedPart& part : found.parts)
        AddPart(item, part);
}

// What becomes of the search, from what becomes of the keys that it finds.
void JudgeSearch(PlannedItem& item, const std::vector<PlannedItem>& keys)
{
    const auto firstThat = [&](ItemState state) {
        return std::find_if(keys.begin(), keys.end(), [&](const PlannedItem& key) { return key.state == state; });
    };
    const auto inUse = firstThat(ItemState::InUse);
    const auto gone = firstThat(ItemState::GoesWith);
    if (firstThat(ItemState::Present) != keys.end() || firstThat(ItemState::PartlyInUse) != keys.end())
    {
        item.state = item.contents.inUse == 0 ? ItemState::Present : ItemState::PartlyInUse;
    }
    else if (inUse != keys.end())
    {
        item.state = ItemState::InUse;
        item.user = inUse->user;
    }
    else if (gone != keys.end())
    {
        item.state = ItemState::GoesWith;
        item.by = gone->by;
    }
    // Where one fails, the search does.
    if (const auto failing = firstThat(ItemState::Fails); failing != keys.end())
    {
        item.state = ItemState::Fails;
        item.reason = failing->reason;
    }
}

} // namespace

void LookAtKeySearch(PlannedItem& item, const CachedRegKeySearch& search, const LookContext& context)
{
    item.kind = ItemKind::KeySearch;
    item.detail = SearchedTexts(search);
    KeyPlace start;
    if (!SplitPlace(search.key, start))
    {
        item.state = ItemState::Absent;
        return;
    }
    item.leadsTo = ToUtf8(LeadsElsewhere(start));
    if (IsForbiddenForItsEmptyText(item, search, start, context))
        return;
    item.state = ItemState::Absent;
    std::vector<PlannedItem> all;
    for (const KeyPlace& place : FoundKeys(search))
    {
        PlannedItem& found = all.emplace_back();
        found.name = ToUtf8(place.full);
        found.leadsTo = ToUtf8(LeadsElsewhere(place));
        if (!IsForbidden(found, place, context) && !IsGone(found, place, context))
            LookInto(found, place, search.x32view, context);
        AddFound(item, found);
    }
    JudgeSearch(item, all);
}

} // namespace prodsweep
