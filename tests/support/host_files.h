#pragma once

#include <string>

namespace prodsweep::test {

// A directory symbolic link, for as long as it lives. A target that was removed meanwhile comes back,
// empty, when the object ends.
class FolderLink
{
public:
    FolderLink(std::wstring path, std::wstring folder);
    ~FolderLink();
    FolderLink(const FolderLink&) = delete;
    FolderLink& operator=(const FolderLink&) = delete;

    [[nodiscard]] const std::wstring& Path() const { return link; }

private:
    std::wstring link;
    std::wstring target;
};

// A drive letter of its own whose root is the folder, for as long as it lives. The folder comes back
// likewise.
class MappedDrive
{
public:
    explicit MappedDrive(std::wstring mapped);
    ~MappedDrive();
    MappedDrive(const MappedDrive&) = delete;
    MappedDrive& operator=(const MappedDrive&) = delete;

    // "Q:\"
    [[nodiscard]] std::wstring Root() const { return device + L"\\"; }

private:
    std::wstring device;
    std::wstring folder;
};

} // namespace prodsweep::test
