#include "bench/trees.h"

#include <windows.h>

#include <shlwapi.h>

#include <deque>
#include <string_view>

namespace prodsweep::bench {
namespace {

bool IsDots(const wchar_t* name) { return std::wstring_view(name) == L"." || std::wstring_view(name) == L".."; }

} // namespace

void MakeTree(const std::wstring& root, int files, const TreeShape& shape)
{
    std::deque<std::wstring> folders{root};
    int made = 0;
    while (made < files)
    {
        const std::wstring folder = folders.front();
        folders.pop_front();
        CreateDirectoryW(folder.c_str(), nullptr);
        for (int i = 0; i < shape.perFolder && made < files; ++i, ++made)
        {
            const std::wstring file = folder + L"\\file" + std::to_wstring(i) + L".dat";
            CloseHandle(CreateFileW(file.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr));
        }
        for (int i = 0; i < shape.branches; ++i)
            folders.push_back(folder + L"\\d" + std::to_wstring(i));
    }
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

} // namespace prodsweep::bench
