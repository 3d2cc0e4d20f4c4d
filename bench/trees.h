#pragma once

#include <string>

namespace prodsweep::bench {

// Makes a tree of files below a new folder: every folder holds perFolder files and, as long as files
// are left, branches subfolders.
struct TreeShape
{
    const char* name;
    int perFolder;
    int branches; // 0: everything in one folder
    // Names begin with a small or a capital letter, as those of products do. Then the order of a folder,
    // which has no case, is not that of the characters.
    bool mixedCase = false;
};
constexpr TreeShape flatTree{"one folder", 1'000'000, 0};
constexpr TreeShape bushyTree{"bushy", 20, 5};
constexpr TreeShape mixedTree{"bushy, mixed case", 20, 5, true};
constexpr TreeShape deepTree{"a chain", 200, 1}; // 50 levels for 10,000 files: peers end at 260 characters

void MakeTree(const std::wstring& root, int files, const TreeShape& shape);

// The very system calls that the removal of a folder makes, and nothing else.
void BareRemoveFolder(const std::wstring& path);
// The same for listing a folder. Returns the number of files.
int BareListFolder(const std::wstring& path);

// The very registry calls that the removal of a key of HKEY_CURRENT_USER makes, and nothing else.
void BareRemoveKey(const std::wstring& path);

} // namespace prodsweep::bench
