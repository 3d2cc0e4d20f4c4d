#pragma once

#include "support/import_patch.h"

#include <windows.h>

#include <string>

namespace prodsweep::test {

// An empty folder that another program replaces by a file, at the worst time: when the test program has
// found it as a folder and asks, by PathIsDirectoryW, whether it is one. One object at a time.
class FolderTurnedFile
{
public:
    explicit FolderTurnedFile(std::wstring folder);
    ~FolderTurnedFile();
    FolderTurnedFile(const FolderTurnedFile&) = delete;
    FolderTurnedFile& operator=(const FolderTurnedFile&) = delete;

private:
    static BOOL WINAPI Ask(const wchar_t* folder);

    static FolderTurnedFile* current;

    std::wstring path;
    ImportPatch patch;
};

} // namespace prodsweep::test
