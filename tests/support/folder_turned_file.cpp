#include "support/folder_turned_file.h"

#include <gtest/gtest.h>

#include <utility>

namespace prodsweep::test {

FolderTurnedFile* FolderTurnedFile::current = nullptr;

FolderTurnedFile::FolderTurnedFile(std::wstring folder)
    : path(std::move(folder)), patch(nullptr, "PathIsDirectoryW", Ask)
{
    EXPECT_EQ(nullptr, current) << "one FolderTurnedFile at a time";
    current = this;
}

FolderTurnedFile::~FolderTurnedFile() { current = nullptr; }

BOOL WINAPI FolderTurnedFile::Ask(const wchar_t* folder)
{
    if (current->path == folder)
    {
        EXPECT_TRUE(RemoveDirectoryW(folder));
        const HANDLE file = CreateFileW(folder, GENERIC_WRITE, 0, nullptr, CREATE_NEW, 0, nullptr);
        EXPECT_NE(INVALID_HANDLE_VALUE, file) << GetLastError();
        CloseHandle(file);
    }
    return current->patch.Original<BOOL WINAPI(const wchar_t*)>()(folder);
}

} // namespace prodsweep::test
