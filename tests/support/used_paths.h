#pragma once

#include "common/used.h"

#include <set>
#include <string>
#include <vector>

namespace prodsweep::test {

// Answers for files and folders by the lists that a test fills, and writes down what it was asked.
class UsedPaths final : public IUsed
{
public:
    std::set<std::wstring> files;
    std::set<std::wstring> folders;
    std::vector<std::wstring> asked; // "file PATH" or "folder PATH"

    bool IsUsedFile(const wchar_t* path) override
    {
        asked.push_back(std::wstring(L"file ") + path);
        return files.contains(path);
    }
    bool IsUsedFolder(const wchar_t* path) override
    {
        asked.push_back(std::wstring(L"folder ") + path);
        return folders.contains(path);
    }
    bool IsUsedRegKey(const wchar_t*, bool) override { return false; }
    bool IsUsedRegValue(const wchar_t*, const wchar_t*, bool) override { return false; }
    bool IsUsedTool(const wchar_t*, const wchar_t*) override { return false; }
};

} // namespace prodsweep::test
