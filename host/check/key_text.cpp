#include "check/key_text.h"

#include <algorithm>
#include <vector>

#include "check/findings.h"
#include "check/known_names.h"
#include "interpreter/attribute_map.h"
#include "registry/split_key_path.h"

namespace prodsweep {

namespace {

// The library's table of hives, which it keeps to itself and to those that derive.
class CHiveTable : private CSplitKeyPath
{
public:
    static std::vector<std::wstring> Spellings()
    {
        const CHiveTable filled;
        std::vector<std::wstring> spellings;
        spellings.reserve(hives.size());
        for (const auto& [spelling, hive] : hives)
            spellings.push_back(spelling);
        return spellings;
    }
};

// Those of the machine's software that many products share; the hives themselves go without saying.
constexpr const wchar_t* systemKeys[] = {
    L"Software",
    L"Software\\Classes",
    L"Software\\Classes\\CLSID",
    L"Software\\Clients",
    L"Software\\Microsoft",
    L"Software\\Microsoft\\Windows",
    L"Software\\Microsoft\\Windows NT",
    L"Software\\Microsoft\\Windows NT\\CurrentVersion",
    L"Software\\Microsoft\\Windows\\CurrentVersion",
    L"Software\\Microsoft\\Windows\\CurrentVersion\\App Paths",
    L"Software\\Microsoft\\Windows\\CurrentVersion\\Explorer",
    L"Software\\Microsoft\\Windows\\CurrentVersion\\Installer",
    L"Software\\Microsoft\\Windows\\CurrentVersion\\Run",
    L"Software\\Microsoft\\Windows\\CurrentVersion\\RunOnce",
    L"Software\\Microsoft\\Windows\\CurrentVersion\\SharedDLLs",
    L"Software\\Microsoft\\Windows\\CurrentVersion\\Uninstall",
    L"Software\\Policies",
    L"Software\\RegisteredApplications",
    L"System",
    L"System\\CurrentControlSet",
    L"System\\CurrentControlSet\\Control",
    L"System\\CurrentControlSet\\Enum",
    L"System\\CurrentControlSet\\Services",
};

// The same keys have a copy for 32-bit programs.
constexpr std::wstring_view narrowView = L"Software\\WOW6432Node";

// All classes of the machine, under a name of their own.
constexpr const wchar_t* systemClasses[] = {L"*",      L"AppID",     L"CLSID",     L"Directory", L"Drive",
                                            L"Folder", L"Installer", L"Interface", L"TypeLib"};

} // namespace

KeyText SplitKeyText(const std::wstring& text)
{
    KeyText key;
    HKEY hive = nullptr;
    key.hiveKnown = CSplitKeyPath().Split(text.c_str(), hive, key.subkey);
    if (key.hiveKnown)
        key.hive = HiveName(hive);
    return key;
}

std::string HiveFault(const std::wstring& text)
{
    const std::size_t separator = text.find_first_of(L"\\/");
    const std::wstring hive = text.substr(0, separator);
    const std::vector<std::wstring> spellings = CHiveTable::Spellings();
    const auto isHive = [&](const std::wstring& spelling) { return EqualIgnoringCase(spelling, hive.c_str()); };
    const auto meant = std::find_if(spellings.begin(), spellings.end(), isHive);
    if (meant != spellings.end() && separator == std::wstring::npos)
        return Quoted(text) + R"( has no "\" behind the hive.)";
    if (meant != spellings.end())
        return "The hive " + Quoted(hive) + " is not spelled " + Quoted(*meant) + '.';
    return Quoted(hive) + " is no hive.";
}

bool HasOddSeparator(std::wstring_view subkey)
{
    return subkey.find(L'/') != std::wstring_view::npos || subkey.find(L"\\\\") != std::wstring_view::npos ||
           subkey.starts_with(L'\\');
}

bool IsSystemKey(const KeyText& key)
{
    std::wstring subkey = key.subkey;
    while (subkey.ends_with(L'\\'))
        subkey.pop_back();
    if (subkey.empty())
        return true;
    const auto equals = [&](const wchar_t* known) { return EqualIgnoringCase(subkey, known); };
    if (key.hive == L"HKEY_CLASSES_ROOT")
        return std::any_of(std::begin(systemClasses), std::end(systemClasses), equals);
    // Below HKEY_USERS each user's key is a hive of its own.
    if (key.hive == L"HKEY_USERS")
        return subkey.find(L'\\') == std::wstring::npos;
    if (Lowered(subkey).starts_with(Lowered(narrowView)))
        subkey.erase(std::wstring_view(L"Software").size(), std::wstring_view(L"\\WOW6432Node").size());
    return std::any_of(std::begin(systemKeys), std::end(systemKeys), equals);
}

} // namespace prodsweep
