#include "plan.h"

namespace prodsweep {

void AddContents(PlannedContents& sum, const PlannedItem& item)
{
    const PlannedContents& part = item.contents;
    sum.folders += part.folders;
    sum.files += part.files;
    sum.bytes += part.bytes;
    sum.links += part.links;
    sum.keys += part.keys;
    sum.values += part.values;
    // An item that stays itself was not looked into.
    sum.inUse += part.inUse + (item.state == ItemState::InUse && part.inUse == 0 ? 1 : 0);
    sum.atRestart += part.atRestart;
    sum.complete = sum.complete && part.complete;
}

const char* StateWord(ItemState state)
{
    switch (state)
    {
    case ItemState::Present:
        return "present";
    case ItemState::PartlyInUse:
        return "partly in use";
    case ItemState::Absent:
        return "absent";
    case ItemState::InUse:
        return "in use";
    case ItemState::AtRestart:
        return "at restart";
    case ItemState::GoesWith:
        return "goes with";
    case ItemState::Pruned:
        return "pruned";
    case ItemState::Skipped:
        return "skipped";
    case ItemState::Fails:
        break;
    }
    return "fails";
}

const char* KindWord(ItemKind kind)
{
    switch (kind)
    {
    case ItemKind::Service:
        return "service";
    case ItemKind::DllFunction:
        return "DLL function";
    case ItemKind::Tool:
        return "tool";
    case ItemKind::Process:
        return "process";
    case ItemKind::Folder:
        return "folder";
    case ItemKind::File:
        return "file";
    case ItemKind::Shortcuts:
        return "shortcuts";
    case ItemKind::KeySearch:
        return "key search";
    case ItemKind::Key:
        return "key";
    case ItemKind::Value:
        return "value";
    case ItemKind::Entry:
        break;
    }
    return "entry";
}

const char* KindWord(PlannedPart::Kind kind)
{
    switch (kind)
    {
    case PlannedPart::Kind::Folder:
        return "folder";
    case PlannedPart::Kind::File:
        return "file";
    case PlannedPart::Kind::Link:
        return "link";
    case PlannedPart::Kind::Shortcut:
        return "shortcut";
    case PlannedPart::Kind::Key:
        return "key";
    case PlannedPart::Kind::Value:
        break;
    }
    return "value";
}

} // namespace prodsweep
