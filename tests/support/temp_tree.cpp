#include "support/temp_tree.h"

#include <gtest/gtest.h>

#include <atomic>

namespace prodsweep::test {
namespace {

void MakeFolders(const std::wstring& path)
{
    for (std::size_t i = path.find(L'\\', 3); i != std::wstring::npos; i = path.find(L'\\', i + 1))
        CreateDirectoryW(path.substr(0, i).c_str(), nullptr);
    CreateDirectoryW(path.c_str(), nullptr);
}

void WriteFileText(const std::wstring& path, const std::string& content)
{
    const HANDLE file = CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr);
    ASSERT_NE(INVALID_HANDLE_VALUE, file) << GetLastError();
    DWORD written = 0;
    EXPECT_TRUE(WriteFile(file, content.data(), static_cast<DWORD>(content.size()), &written, nullptr));
    CloseHandle(file);
}

std::wstring NewFolder()
{
    static std::atomic<int> next{0};
    wchar_t temp[MAX_PATH] = {};
    GetTempPathW(MAX_PATH, temp);
    return std::wstring(temp) + L"prodsweep-" + std::to_wstring(GetCurrentProcessId()) + L"-" +
           std::to_wstring(next.fetch_add(1));
}

} // namespace

TempTree::TempTree() : home(NewFolder()), root(home + L"\\tree")
{
    // Process ids come again. What a program left that was ended in the midst of its tests goes now.
    RemoveTree(home);
    MakeFolders(root);
    MakeFolders(home + L"\\tree-canary");
    WriteFileText(home + L"\\tree-canary\\file.txt", "canary");
    WriteFileText(home + L"\\tree.txt", "canary");
}

TempTree::~TempTree() { RemoveTree(home); }

// Neither is const: what it changes is the tree.
// NOLINTBEGIN(readability-make-member-function-const)
std::wstring TempTree::AddFile(const std::wstring& relative, DWORD attributes, const std::string& content)
{
    const std::wstring path = Path(relative);
    MakeFolders(path.substr(0, path.rfind(L'\\')));
    WriteFileText(path, content);
    SetFileAttributesW(path.c_str(), attributes);
    return path;
}

std::wstring TempTree::AddFolder(const std::wstring& relative, DWORD attributes)
{
    const std::wstring path = Path(relative);
    MakeFolders(path);
    SetFileAttributesW(path.c_str(), attributes);
    return path;
}
// NOLINTEND(readability-make-member-function-const)

bool TempTree::CanariesIntact() const
{
    return Exists(home + L"\\tree-canary\\file.txt") && Exists(home + L"\\tree.txt");
}

void RemoveTree(const std::wstring& path)
{
    SetFileAttributesW(path.c_str(), FILE_ATTRIBUTE_NORMAL);
    WIN32_FIND_DATAW entry{};
    const HANDLE find = FindFirstFileW((path + L"\\*").c_str(), &entry);
    if (find != INVALID_HANDLE_VALUE)
    {
        do
        {
            const std::wstring name = entry.cFileName;
            if (name == L"." || name == L"..")
                continue;
            const std::wstring full = path + L"\\" + name;
            const bool folder = (entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
            const bool link = (entry.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0;
            if (folder && !link)
            {
                RemoveTree(full);
                continue;
            }
            SetFileAttributesW(full.c_str(), FILE_ATTRIBUTE_NORMAL);
            if (folder)
                RemoveDirectoryW(full.c_str());
            else
                DeleteFileW(full.c_str());
        } while (FindNextFileW(find, &entry));
        FindClose(find);
    }
    RemoveDirectoryW(path.c_str());
}

} // namespace prodsweep::test
