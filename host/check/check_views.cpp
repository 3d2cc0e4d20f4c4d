#include "check/checks.h"

#include <algorithm>

#include "check/key_text.h"
#include "check/known_names.h"
#include "interpreter/entry_composer.h"

namespace prodsweep {

namespace {

constexpr std::wstring_view software = L"software\\";
constexpr std::wstring_view narrowSoftware = L"software\\wow6432node\\";
constexpr const wchar_t* uninstallList = L"software\\microsoft\\windows\\currentversion\\uninstall\\";

// The keys of the machine's software that a descriptor names, in lower case, as a program of that view names them.
struct NamedKeys
{
    std::vector<std::wstring> wide;
    std::vector<std::wstring> narrow;

    void Add(const std::wstring& text, bool x32view)
    {
        const KeyText key = SplitKeyText(text);
        std::wstring subkey = Lowered(key.subkey);
        if (!key.hiveKnown || key.root != HKEY_LOCAL_MACHINE || !subkey.starts_with(software))
            return;
        const bool isNarrow = subkey.starts_with(narrowSoftware);
        if (isNarrow)
            subkey = std::wstring(software) + subkey.substr(narrowSoftware.size());
        // x32view changes nothing, but it says where the key is known to be.
        (isNarrow || x32view ? narrow : wide).push_back(subkey + L'\\');
    }
};

NamedKeys KeysOf(const DescriptorModel& model)
{
    NamedKeys keys;
    for (const VersionModel& version : model.versions)
    {
        const XmlNode* appPath = version.listed ? version.node->Child(L"app_path") : nullptr;
        if (const XmlAttribute* key = appPath != nullptr ? appPath->Find(L"key") : nullptr)
            keys.Add(key->value, false);
    }
    for (const EntryPlace& place : ListedEntriesOf(model))
    {
        if (place.section.Is(L"del_regkey"))
        {
            const RegKeyEntry entry = ComposeRegKey(place.entry.attributes, DataStrReading::Separator);
            keys.Add(entry.key, entry.x32view);
        }
        if (place.section.Is(L"del_regvalue"))
        {
            const RegValueEntry entry = ComposeRegValue(place.entry.attributes, place.version.appPath);
            keys.Add(entry.key, entry.x32view);
        }
    }
    return keys;
}

// One of the keys is the mark's, or lies above or below it.
bool Touch(const std::vector<std::wstring>& keys, const std::wstring& mark)
{
    return std::any_of(keys.begin(), keys.end(),
                       [&](const std::wstring& key) { return key.starts_with(mark) || mark.starts_with(key); });
}

// Where the version looks for its mark, as NamedKeys has it; empty when it is no key of the machine's software.
std::wstring MarkOf(const XmlAttribute& mark)
{
    if (mark.name == L"id")
        return uninstallList + Lowered(mark.value) + L'\\';
    if (mark.name == L"prodName")
        return uninstallList;
    const KeyText key = SplitKeyText(mark.value);
    const std::wstring subkey = Lowered(key.subkey);
    const bool isWide = key.hiveKnown && key.root == HKEY_LOCAL_MACHINE && subkey.starts_with(software) &&
                        !subkey.starts_with(narrowSoftware);
    return isWide ? subkey + L'\\' : std::wstring();
}

} // namespace

void CheckViews(const XmlNode& product, const DescriptorModel& model, const CFileReport& report)
{
    const NamedKeys keys = KeysOf(model);
    for (const XmlNode& version : product.children)
    {
        const XmlAttribute* mark = version.Find(L"id");
        for (const wchar_t* next : {L"prodName", L"keypath"})
            mark = mark != nullptr ? mark : version.Find(next);
        if (mark == nullptr)
            continue;
        const std::wstring place = MarkOf(*mark);
        if (!place.empty() && Touch(keys.narrow, place) && !Touch(keys.wide, place))
            report.Add("mark-in-other-view", mark->at,
                       "The descriptor names the key of " + Quoted(mark->value) + " in the 32-bit view, and not here.");
    }
}

} // namespace prodsweep
