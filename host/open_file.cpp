#include "open_file.h"

#include "common/unique_handle.h"

namespace prodsweep {

namespace {

DWORD ErrorOfOpening(const std::wstring& path, DWORD access)
{
    const UniqueHandle file =
        OwnHandle(CreateFileW(path.c_str(), access, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                              OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS | FILE_FLAG_OPEN_REPARSE_POINT, nullptr));
    return file != nullptr ? ERROR_SUCCESS : GetLastError();
}

} // namespace

std::string KeepsFromDeleting(const std::wstring& path)
{
    const DWORD toDelete = ErrorOfOpening(path, DELETE);
    if (toDelete == ERROR_SHARING_VIOLATION)
        return "a program has it open";
    if (toDelete == ERROR_ACCESS_DENIED)
        return "access to it is denied";
    // A program that runs, or a DLL that is loaded, may be opened for deletion and is then refused. It shows by
    // refusing to be written to. Opening does not write.
    if (ErrorOfOpening(path, FILE_WRITE_DATA) == ERROR_SHARING_VIOLATION)
        return "a program has it open";
    return {};
}

} // namespace prodsweep
