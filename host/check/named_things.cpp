#include "check/named_things.h"

#include <utility>

#include "check/key_text.h"
#include "check/known_names.h"
#include "interpreter/entry_composer.h"

namespace prodsweep {

namespace {

std::wstring WithoutSeparatorAtEnd(std::wstring text)
{
    while (text.ends_with(L'\\') || text.ends_with(L'/'))
        text.pop_back();
    return text;
}

// The library knows each hive by its long name there, whichever was written.
std::wstring WithLongHive(const std::wstring& text)
{
    const KeyText key = SplitKeyText(text);
    return WithoutSeparatorAtEnd(key.hiveKnown ? key.hive + L'\\' + key.subkey : text);
}

std::size_t ParentLength(const std::wstring& plain)
{
    const std::size_t separator = plain.find_last_of(L'\\');
    return separator == std::wstring::npos ? 0 : separator;
}

// Where the registry is asked, the folder of the answer is known on the machine only, and differs from product to
// product.
bool LiesSomewhere(const EntryPlace& place, const wchar_t* keyword)
{
    const std::wstring* folder = place.entry.Find(keyword);
    return folder != nullptr && *folder == L"app_path" &&
           (!place.version.install || place.version.node->Child(L"app_path") != nullptr);
}

NamedThing ThingAt(const EntryPlace& place, NamedThing::Kind kind)
{
    NamedThing thing;
    thing.kind = kind;
    thing.file = place.model.file;
    thing.at = place.entry.node->at;
    return thing;
}

void AddPath(const EntryPlace& place, std::vector<NamedThing>& things)
{
    const bool isFolder = place.section.Is(L"del_folder");
    if ((!isFolder && !place.section.Is(L"del_file")) || LiesSomewhere(place, L"path"))
        return;
    const AttributeMap& attributes = place.entry.attributes;
    const std::wstring path = isFolder ? ComposeFolder(attributes, place.version.appPath).path
                                       : ComposeFile(attributes, place.version.appPath).path;
    if (path.empty())
        return;
    NamedThing thing = ThingAt(place, NamedThing::Kind::Path);
    thing.holdsOthers = isFolder;
    thing.spelled = WithoutSeparatorAtEnd(path);
    thing.plain = WithoutSeparatorAtEnd(Lowered(AbsolutePath(path)));
    thing.parent = ParentLength(thing.plain);
    things.push_back(std::move(thing));
}

// Whichever they are, they lie in the folder and are known by its spelling. A path that ends like a shortcut's is one.
void AddShortcuts(const EntryPlace& place, std::vector<NamedThing>& things)
{
    if (!place.section.Is(L"del_shortcut") || LiesSomewhere(place, L"rel_shortcut"))
        return;
    const ShortcutEntry entry = ComposeShortcut(place.entry.attributes, place.version.appPath);
    if (entry.fault != EntryFault::None || entry.shortcut.empty())
        return;
    NamedThing thing = ThingAt(place, NamedThing::Kind::Path);
    thing.spelled = WithoutSeparatorAtEnd(entry.shortcut);
    thing.plain = WithoutSeparatorAtEnd(Lowered(AbsolutePath(entry.shortcut)));
    thing.parent = thing.plain.ends_with(L".lnk") ? ParentLength(thing.plain) : thing.plain.size();
    if (thing.parent == thing.plain.size())
    {
        // Two products share what lies in one folder if they look for the same target there.
        thing.spelled += L"\\*.lnk";
        thing.plain += L"\\*" + Lowered(entry.target);
        if (LiesSomewhere(place, L"rel_target"))
            thing.plain += L'*' + thing.file->path;
    }
    things.push_back(std::move(thing));
}

void AddKey(const EntryPlace& place, std::vector<NamedThing>& things)
{
    if (!place.section.Is(L"del_regkey"))
        return;
    const RegKeyEntry key = ComposeRegKey(place.entry.attributes, DataStrReading::Separator);
    if (key.fault != EntryFault::None || key.search)
        return;
    NamedThing thing = ThingAt(place, NamedThing::Kind::Key);
    thing.holdsOthers = true;
    thing.x32view = key.x32view;
    thing.spelled = WithLongHive(key.key);
    thing.plain = Lowered(thing.spelled);
    thing.parent = ParentLength(thing.plain);
    things.push_back(std::move(thing));
}

void AddValue(const EntryPlace& place, std::vector<NamedThing>& things)
{
    if (!place.section.Is(L"del_regvalue") || LiesSomewhere(place, L"rel_name"))
        return;
    const RegValueEntry value = ComposeRegValue(place.entry.attributes, place.version.appPath);
    if (value.fault != EntryFault::None)
        return;
    NamedThing thing = ThingAt(place, NamedThing::Kind::Value);
    thing.x32view = value.x32view;
    const std::wstring key = WithLongHive(value.key);
    thing.spelled = key + L'\\' + value.valueName;
    thing.plain = Lowered(thing.spelled);
    // The name may have separators of its own.
    thing.parent = key.size();
    things.push_back(std::move(thing));
}

void AddService(const EntryPlace& place, std::vector<NamedThing>& things)
{
    const bool isService = place.section.Is(L"disable_driver") || place.section.Is(L"disable_service") ||
                           place.section.Is(L"disableandstop_driver") || place.section.Is(L"disableandstop_service");
    const std::wstring* name = isService ? place.entry.Find(L"name") : nullptr;
    if (name == nullptr)
        return;
    NamedThing thing = ThingAt(place, NamedThing::Kind::Service);
    thing.spelled = *name;
    thing.plain = Lowered(*name);
    things.push_back(std::move(thing));
}

} // namespace

std::vector<NamedThing> ThingsOf(const DescriptorModel& model)
{
    std::vector<NamedThing> things;
    for (const EntryPlace& place : ListedEntriesOf(model))
    {
        AddPath(place, things);
        AddShortcuts(place, things);
        AddKey(place, things);
        AddValue(place, things);
        AddService(place, things);
    }
    return things;
}

std::vector<std::wstring> PlacesAround(const NamedThing& thing)
{
    std::vector<std::wstring> places;
    for (std::size_t length = thing.parent; length != 0; length = ParentLength(places.back()))
        places.push_back(thing.plain.substr(0, length));
    return places;
}

} // namespace prodsweep
