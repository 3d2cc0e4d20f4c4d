#include "support/registry_faults.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace prodsweep::test {
namespace {

template <class Key>
LSTATUS Refusal(const std::map<Key, LSTATUS>& refusals, const Key& key)
{
    const auto found = refusals.find(key);
    return found != refusals.end() ? found->second : ERROR_SUCCESS;
}

std::wstring Hex(DWORD number)
{
    wchar_t text[16] = {};
    _snwprintf(text, 16, L"0x%lx", number);
    return text;
}

// Takes the first answer that waits for the entry.
template <class Answer>
bool TakeAnswer(std::map<DWORD, std::deque<Answer>>& answers, DWORD index, Answer& answer)
{
    std::deque<Answer>& waiting = answers[index];
    if (waiting.empty())
        return false;
    answer = waiting.front();
    waiting.pop_front();
    return true;
}

} // namespace

RegistryFaults* RegistryFaults::current = nullptr;

RegistryFaults::RegistryFaults()
    : openPatch(nullptr, "RegOpenKeyExW", Open),
      closePatch(nullptr, "RegCloseKey", Close),
      queryPatch(nullptr, "RegQueryInfoKeyW", Query),
      enumValuePatch(nullptr, "RegEnumValueW", EnumValue),
      enumKeyPatch(nullptr, "RegEnumKeyExW", EnumKey),
      deleteValuePatch(nullptr, "RegDeleteValueW", DeleteValue),
      deleteKeyPatch(nullptr, "RegDeleteKeyW", DeleteKey)
{
    EXPECT_EQ(nullptr, current) << "one RegistryFaults at a time";
    current = this;
}

RegistryFaults::~RegistryFaults() { current = nullptr; }

void RegistryFaults::MoreForValueAt(DWORD index, DWORD nameLength, DWORD dataLength)
{
    valueGrowth[index].push_back({nameLength, dataLength});
}

int RegistryFaults::Count(const std::wstring& call) const
{
    return static_cast<int>(std::count(calls.begin(), calls.end(), call));
}

std::ptrdiff_t RegistryFaults::Opens() const
{
    return std::count_if(calls.begin(), calls.end(),
                         [](const std::wstring& call) { return call.starts_with(L"open "); });
}

bool RegistryFaults::IsOpen(const wchar_t* subkey) const
{
    return std::any_of(openKeys.begin(), openKeys.end(), [&](const auto& open) { return open.second == subkey; });
}

LSTATUS WINAPI RegistryFaults::Open(HKEY key, const wchar_t* subkey, DWORD options, REGSAM access, HKEY* opened)
{
    current->calls.push_back(std::wstring(L"open ") + subkey + L" " + Hex(access));
    if (const LSTATUS refusal = Refusal(current->opens, std::wstring(subkey)); refusal != ERROR_SUCCESS)
        return refusal;
    if (--current->opensLeft < 0)
        return ERROR_NOT_ENOUGH_MEMORY;
    if (current->IsOpen(subkey))
        current->openedWhileOpen.emplace_back(subkey);
    const LSTATUS status = current->openPatch.Original<decltype(RegOpenKeyExW)>()(key, subkey, options, access, opened);
    if (status == ERROR_SUCCESS)
        current->openKeys[*opened] = subkey;
    return status;
}

LSTATUS WINAPI RegistryFaults::Close(HKEY key)
{
    current->openKeys.erase(key);
    return current->closePatch.Original<decltype(RegCloseKey)>()(key);
}

// The parameters of RegQueryInfoKeyW. NOLINTNEXTLINE(readability-function-size)
LSTATUS WINAPI RegistryFaults::Query(HKEY key, wchar_t* className, DWORD* classLength, DWORD* reserved,
                                     DWORD* subkeyCount, DWORD* longestSubkey, DWORD* longestClass, DWORD* valueCount,
                                     DWORD* longestValue, DWORD* longestData, DWORD* security, FILETIME* written)
{
    current->calls.emplace_back(L"query");
    if (current->query != ERROR_SUCCESS)
        return current->query;
    const LSTATUS status = current->queryPatch.Original<decltype(RegQueryInfoKeyW)>()(
        key, className, classLength, reserved, subkeyCount, longestSubkey, longestClass, valueCount, longestValue,
        longestData, security, written);
    for (DWORD* const longest : {longestSubkey, longestValue, longestData})
    {
        if (current->hideMaxima && longest != nullptr)
            *longest = 0;
    }
    return status;
}

// The parameters of RegEnumValueW. NOLINTNEXTLINE(readability-function-size)
LSTATUS WINAPI RegistryFaults::EnumValue(HKEY key, DWORD index, wchar_t* name, DWORD* nameLength, DWORD* reserved,
                                         DWORD* type, BYTE* data, DWORD* dataLength)
{
    std::wstring call = L"value " + std::to_wstring(index) + L" name=" + std::to_wstring(*nameLength);
    if (dataLength != nullptr)
        call += L" data=" + std::to_wstring(*dataLength);
    current->calls.push_back(call);
    if (const LSTATUS refusal = Refusal(current->values, index); refusal != ERROR_SUCCESS)
        return refusal;
    if (current->moreForever)
        return ERROR_MORE_DATA;
    if (Lengths answer{}; TakeAnswer(current->valueGrowth, index, answer))
    {
        if (answer.name != Unchanged)
            *nameLength = answer.name;
        if (answer.data != Unchanged && dataLength != nullptr)
            *dataLength = answer.data;
        return ERROR_MORE_DATA;
    }
    return current->enumValuePatch.Original<decltype(RegEnumValueW)>()(key, index, name, nameLength, reserved, type,
                                                                       data, dataLength);
}

// The parameters of RegEnumKeyExW. NOLINTNEXTLINE(readability-function-size)
LSTATUS WINAPI RegistryFaults::EnumKey(HKEY key, DWORD index, wchar_t* name, DWORD* nameLength, DWORD* reserved,
                                       wchar_t* className, DWORD* classLength, FILETIME* written)
{
    current->calls.push_back(L"subkey " + std::to_wstring(index) + L" name=" + std::to_wstring(*nameLength));
    if (const LSTATUS refusal = Refusal(current->subkeys, index); refusal != ERROR_SUCCESS)
        return refusal;
    if (current->moreForever)
        return ERROR_MORE_DATA;
    if (DWORD answer = 0; TakeAnswer(current->subkeyGrowth, index, answer))
    {
        if (answer != Unchanged)
            *nameLength = answer;
        return ERROR_MORE_DATA;
    }
    return current->enumKeyPatch.Original<decltype(RegEnumKeyExW)>()(key, index, name, nameLength, reserved, className,
                                                                     classLength, written);
}

LSTATUS WINAPI RegistryFaults::DeleteValue(HKEY key, const wchar_t* name)
{
    current->calls.push_back(std::wstring(L"delete value ") + name);
    if (const LSTATUS refusal = Refusal(current->valueDeletions, std::wstring(name)); refusal != ERROR_SUCCESS)
        return refusal;
    return current->deleteValuePatch.Original<decltype(RegDeleteValueW)>()(key, name);
}

LSTATUS WINAPI RegistryFaults::DeleteKey(HKEY key, const wchar_t* subkey)
{
    current->calls.push_back(std::wstring(L"delete key ") + subkey);
    if (current->IsOpen(subkey))
        current->deletedWhileOpen.emplace_back(subkey);
    if (const LSTATUS refusal = Refusal(current->keyDeletions, std::wstring(subkey)); refusal != ERROR_SUCCESS)
        return refusal;
    return current->deleteKeyPatch.Original<decltype(RegDeleteKeyW)>()(key, subkey);
}

} // namespace prodsweep::test
