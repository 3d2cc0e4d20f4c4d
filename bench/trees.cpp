#include "bench/trees.h"

#include "common/unique_reg_key.h"
#include "support/many_files.h"

#include <windows.h>

#include <shlwapi.h>

#include <deque>
#include <stdexcept>
#include <string_view>
#include <vector>

namespace prodsweep::bench {
namespace {

bool IsDots(const wchar_t* name) { return std::wstring_view(name) == L"." || std::wstring_view(name) == L".."; }

UniqueRegKey Open(const std::wstring& path)
{
    HKEY key = nullptr;
    RegOpenKeyExW(HKEY_CURRENT_USER, path.c_str(), 0, KEY_ALL_ACCESS, &key);
    return UniqueRegKey(key);
}

std::vector<std::wstring> BareValueNames(HKEY key)
{
    DWORD longest = 0;
    RegQueryInfoKeyW(key, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, &longest, nullptr, nullptr,
                     nullptr);
    std::vector<wchar_t> name(longest + 1);
    std::vector<std::wstring> names;
    for (DWORD i = 0;; ++i)
    {
        auto length = static_cast<DWORD>(name.size());
        if (RegEnumValueW(key, i, name.data(), &length, nullptr, nullptr, nullptr, nullptr) != ERROR_SUCCESS)
            return names;
        names.emplace_back(name.data(), length);
    }
}

std::vector<std::wstring> BareSubkeyNames(HKEY key)
{
    DWORD longest = 0;
    RegQueryInfoKeyW(key, nullptr, nullptr, nullptr, nullptr, &longest, nullptr, nullptr, nullptr, nullptr, nullptr,
                     nullptr);
    std::vector<wchar_t> name(longest + 1);
    std::vector<std::wstring> names;
    for (DWORD i = 0;; ++i)
    {
        auto length = static_cast<DWORD>(name.size());
        if (RegEnumKeyExW(key, i, name.data(), &length, nullptr, nullptr, nullptr, nullptr) != ERROR_SUCCESS)
            return names;
        names.emplace_back(name.data(), length);
    }
}

} // namespace

void MakeTree(const std::wstring& root, int files, const TreeShape& shape)
{
    std::deque<std::wstring> folders{L""}; // each with its separator
    std::vector<std::wstring> names;
    const auto wanted = static_cast<std::size_t>(files);
    while (names.size() < wanted)
    {
        const std::wstring folder = folders.front();
        folders.pop_front();
        for (int i = 0; i < shape.perFolder && names.size() < wanted; ++i)
            names.push_back(folder + (shape.mixedCase && i % 3 == 0 ? L"File" : L"file") + std::to_wstring(i) +
                            L".dat");
        for (int i = 0; i < shape.branches; ++i)
            folders.push_back(folder + L"d" + std::to_wstring(i) + L"\\");
    }
    CreateDirectoryW(root.c_str(), nullptr);
    if (!test::MakeManyFiles(root, names))
        throw std::runtime_error("a tree of " + std::to_string(files) + " files cannot be made");
}

void BareRemoveFolder(const std::wstring& path)
{
    if (!PathIsDirectoryW(path.c_str()))
        return;
    WIN32_FIND_DATAW entry;
    const HANDLE find = FindFirstFileW((path + L"\\*.*").c_str(), &entry);
    if (find == INVALID_HANDLE_VALUE)
        return;
    do
    {
        if (IsDots(entry.cFileName))
            continue;
        const std::wstring full = path + L"\\" + entry.cFileName;
        if ((entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0)
        {
            BareRemoveFolder(full);
            continue;
        }
        SetFileAttributesW(full.c_str(), FILE_ATTRIBUTE_NORMAL);
        DeleteFileW(full.c_str());
    } while (FindNextFileW(find, &entry));
    FindClose(find);
    SetFileAttributesW(path.c_str(), FILE_ATTRIBUTE_NORMAL);
    RemoveDirectoryW(path.c_str());
}

int BareListFolder(const std::wstring& path)
{
    if (!PathIsDirectoryW(path.c_str()))
        return 0;
    WIN32_FIND_DATAW entry;
    const HANDLE find = FindFirstFileW((path + L"\\*.*").c_str(), &entry);
    if (find == INVALID_HANDLE_VALUE)
        return 0;
    int files = 0;
    do
    {
        if (IsDots(entry.cFileName))
            continue;
        if ((entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0)
            files += BareListFolder(path + L"\\" + entry.cFileName);
        else
            ++files;
    } while (FindNextFileW(find, &entry));
    FindClose(find);
    return files;
}

void BareRemoveKey(const std::wstring& path)
{
    {
        const UniqueRegKey key = Open(path);
        if (key == nullptr)
            return;
        for (const std::wstring& name : BareValueNames(key.get()))
            RegDeleteValueW(key.get(), name.c_str());
        for (const std::wstring& name : BareSubkeyNames(key.get()))
            BareRemoveKey((path + L"\\").append(name));
    }
    RegDeleteKeyW(HKEY_CURRENT_USER, path.c_str());
}

} // namespace prodsweep::bench
