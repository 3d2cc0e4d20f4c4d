#pragma once

#include <windows.h>

#include <string>

namespace prodsweep::test {

// A folder of its own below the temporary folder, with canaries beside it: a file and a folder whose
// names begin like the tree's own. Removed with all that is in it when the object ends.
class TempTree
{
public:
    TempTree();
    ~TempTree();
    TempTree(const TempTree&) = delete;
    TempTree& operator=(const TempTree&) = delete;

    // The tree's root, without a trailing separator.
    [[nodiscard]] const std::wstring& Root() const { return root; }
    [[nodiscard]] std::wstring Path(const std::wstring& relative) const { return root + L"\\" + relative; }

    // Both make the folders above as needed and return the full path.
    std::wstring AddFile(const std::wstring& relative, DWORD attributes = FILE_ATTRIBUTE_NORMAL,
                         const std::string& content = "content");
    std::wstring AddFolder(const std::wstring& relative, DWORD attributes = FILE_ATTRIBUTE_NORMAL);

    [[nodiscard]] bool CanariesIntact() const;

private:
    std::wstring home; // holds the root and the canaries
    std::wstring root;
};

[[nodiscard]] inline bool Exists(const std::wstring& path)
{
    return GetFileAttributesW(path.c_str()) != INVALID_FILE_ATTRIBUTES;
}

// Removes a tree whatever its attributes; links are removed, not followed.
void RemoveTree(const std::wstring& path);

} // namespace prodsweep::test
