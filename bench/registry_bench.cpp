// The removal of keys and the search through values.
#include "bench/benches.h"
#include "bench/trees.h"
#include "common/unique_reg_key.h"
#include "registry/reg_key_helper.h"
#include "registry/split_key_path.h"

#include <windows.h>

#include <string>
#include <vector>

namespace prodsweep::bench {
namespace {

constexpr wchar_t subkey[] = L"Software\\prodsweep-bench";
constexpr wchar_t fullKey[] = L"HKEY_CURRENT_USER\\Software\\prodsweep-bench";

void MakeKeys(int keys, int values)
{
    for (int i = 0; i < keys; ++i)
    {
        HKEY made = nullptr;
        RegCreateKeyExW(HKEY_CURRENT_USER, (std::wstring(subkey) + L"\\key" + std::to_wstring(i)).c_str(), 0, nullptr,
                        0, KEY_ALL_ACCESS, nullptr, &made, nullptr);
        const UniqueRegKey key(made);
        for (int v = 0; v < values; ++v)
        {
            const std::wstring name = L"value" + std::to_wstring(v);
            RegSetValueExW(key.get(), name.c_str(), 0, REG_SZ, reinterpret_cast<const BYTE*>(name.c_str()),
                           static_cast<DWORD>((name.size() + 1) * sizeof(wchar_t)));
        }
    }
}

void RegDelete()
{
    std::wstring commandLine = L"reg delete " + std::wstring(fullKey) + L" /f";
    STARTUPINFOW startup{}; // with null handles, so that its report goes nowhere
    startup.cb = sizeof(startup);
    startup.dwFlags = STARTF_USESTDHANDLES;
    PROCESS_INFORMATION process{};
    if (!CreateProcessW(nullptr, commandLine.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup, &process))
        return;
    WaitForSingleObject(process.hProcess, INFINITE);
    CloseHandle(process.hThread);
    CloseHandle(process.hProcess);
}

void RegDeleteTree()
{
    RegDeleteTreeW(HKEY_CURRENT_USER, subkey);
    RegDeleteKeyW(HKEY_CURRENT_USER, subkey);
}

void CompareRemoval(Report& report)
{
    const std::vector<double> times =
        InTurns(5,
                {[] { CRegKeyHelper::DeleteKey(fullKey, false, nullptr); }, [] { BareRemoveKey(subkey); },
                 [] { RegDeleteTree(); }, [] { RegDelete(); }},
                [] {
                    BareRemoveKey(subkey);
                    MakeKeys(1'000, 20);
                });
    BareRemoveKey(subkey);
    const std::string group = "key removal, 1,000 keys of 20 values";
    report.Compare(group, "DeleteKey", {times[0], times[1]}, "bare loop", 1.10);
    report.Compare(group, "DeleteKey", {times[0], times[2]}, "RegDeleteTreeW");
    report.Compare(group, "DeleteKey", {times[0], times[3]}, "reg delete /f");
}

// Reads every value with its data, as the search must.
void BareReadValues()
{
    HKEY opened = nullptr;
    RegOpenKeyExW(HKEY_CURRENT_USER, (std::wstring(subkey) + L"\\key0").c_str(), 0, KEY_ALL_ACCESS, &opened);
    const UniqueRegKey key(opened);
    DWORD longestName = 0;
    DWORD longestData = 0;
    RegQueryInfoKeyW(key.get(), nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, &longestName,
                     &longestData, nullptr, nullptr);
    std::vector<wchar_t> name(longestName + 1);
    std::vector<BYTE> data(longestData + 1);
    for (DWORD i = 0;; ++i)
    {
        auto nameLength = static_cast<DWORD>(name.size());
        auto dataSize = static_cast<DWORD>(data.size());
        DWORD type = 0;
        if (RegEnumValueW(key.get(), i, name.data(), &nameLength, nullptr, &type, data.data(), &dataSize) !=
            ERROR_SUCCESS)
            return;
    }
}

void CompareSearch(Report& report)
{
    MakeKeys(1, 10'000);
    const std::wstring key = std::wstring(fullKey) + L"\\key0";
    const WideStringList search{L"not in any of them"};
    const Pair pair = SideBySide(
        11, [&] { CRegKeyHelper::DelKeySearch(key.c_str(), search, false, false, nullptr); }, BareReadValues);
    report.Compare("value search, 10,000 values", "DelKeySearch without a match", pair, "bare enumeration", 1.15);
    BareRemoveKey(subkey);
}

} // namespace

void BenchRegistry(Report& report)
{
    // Fills the tables of hives, as every user of key paths does.
    const CSplitKeyPath tables;
    CompareRemoval(report);
    CompareSearch(report);
}

} // namespace prodsweep::bench
