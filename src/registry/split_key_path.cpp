#include "registry/split_key_path.h"

#include "common/srw_guard.h"
#include "environment/log.h"

#include <cwchar>

namespace prodsweep {
namespace {

struct Hive
{
    const wchar_t* longName;
    const wchar_t* shortName;
    HKEY key;
};

// The only place that knows how hives are spelled.
const Hive hiveRows[] = {
    {L"HKEY_LOCAL_MACHINE", L"HKLM", HKEY_LOCAL_MACHINE},
    {L"HKEY_CURRENT_CONFIG", L"HKCC", HKEY_CURRENT_CONFIG},
    {L"HKEY_CLASSES_ROOT", L"HKCR", HKEY_CLASSES_ROOT},
    {L"HKEY_CURRENT_USER", L"HKCU", HKEY_CURRENT_USER},
    {L"HKEY_USERS", L"HKU", HKEY_USERS},
    {L"HKEY_PERFORMANCE_DATA", L"HKPD", HKEY_PERFORMANCE_DATA},
    {L"HKEY_DYN_DATA", L"HKDD", HKEY_DYN_DATA},
};

// Listings may run on several threads, and one that finds a table half filled would not know a hive.
constinit SRWLOCK filling = SRWLOCK_INIT;

} // namespace

std::map<std::wstring, HKEY> CSplitKeyPath::hives;
std::map<HKEY, std::wstring> CSplitKeyPath::names;

CSplitKeyPath::CSplitKeyPath()
{
    const SrwGuard guard(filling);
    if (!hives.empty())
        return;
    std::map<std::wstring, HKEY> newHives;
    std::map<HKEY, std::wstring> newNames;
    for (const auto spelling : {&Hive::longName, &Hive::shortName})
    {
        for (const Hive& row : hiveRows)
        {
            newHives.emplace(row.*spelling, row.key);
            // The long spellings come first and emplace replaces nothing, so the way back always
            // gives the long name.
            newNames.emplace(row.key, row.*spelling);
        }
    }
    // Both at once, and the one that is asked for last: memory that was short on the way leaves no half.
    names.swap(newNames);
    hives.swap(newHives);
}

// It takes an object, since only that has filled the tables.
// NOLINTNEXTLINE(readability-convert-member-functions-to-static)
bool CSplitKeyPath::Split(const wchar_t* path, HKEY& hive, std::wstring& subkey) const
{
    const wchar_t* const separator = std::wcspbrk(path, L"\\/");
    // Deliberate: spelled exactly as in the table, although the registry itself ignores case.
    const auto found = separator != nullptr ? hives.find(std::wstring(path, separator)) : hives.end();
    if (found == hives.end())
    {
        LOG(LogError, L"unknown base key \"%s\"", path);
        return false;
    }
    hive = found->second;
    // Nothing else is normalised: a second separator stays, and so does every "/" further on.
    subkey.assign(separator + 1);
    return true;
}

const wchar_t* HiveName(HKEY hive)
{
    // The text stays where it is: a table that is filled is not changed any more.
    const SrwGuard guard(filling);
    const auto found = CSplitKeyPath::names.find(hive);
    return found != CSplitKeyPath::names.end() ? found->second.c_str() : nullptr;
}

} // namespace prodsweep
