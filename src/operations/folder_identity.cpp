#include "operations/folder_identity.h"

#include "common/unique_handle.h"

namespace prodsweep {
namespace {

// What file systems answer that have no number for a folder.
constexpr ULONGLONG noIndex = 0;
constexpr ULONGLONG unspeakableIndex = ~ULONGLONG{0};

} // namespace

std::optional<FolderIdentity> IdentityOf(const std::wstring& folder)
{
    const UniqueHandle opened = OwnHandle(CreateFileW(folder.c_str(), FILE_READ_ATTRIBUTES,
                                                      FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                                      OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr));
    BY_HANDLE_FILE_INFORMATION information{};
    if (opened == nullptr || !GetFileInformationByHandle(opened.get(), &information))
        return std::nullopt;
    const ULONGLONG index = (ULONGLONG{information.nFileIndexHigh} << 32) | information.nFileIndexLow;
    if (index == noIndex || index == unspeakableIndex)
        return std::nullopt;
    return FolderIdentity{information.dwVolumeSerialNumber, index};
}

} // namespace prodsweep
