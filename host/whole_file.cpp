#include "whole_file.h"

#include <algorithm>

#include <windows.h>

#include "common/unique_handle.h"
#include "exit_codes.h"
#include "failure.h"
#include "module_path.h"
#include "text.h"

namespace prodsweep {

namespace {

struct FreshFile
{
    std::wstring path;
    UniqueHandle handle;
    DWORD error = ERROR_SUCCESS;
};

// Beside the target, so that renaming it copies nothing; under a name that nobody else has.
FreshFile CreateBeside(const std::wstring& target)
{
    constexpr int mostTries = 100;
    FreshFile file;
    for (int i = 1; i <= mostTries; ++i)
    {
        file.path = target + L".part" + (i == 1 ? L"" : std::to_wstring(i));
        file.handle = OwnHandle(
            CreateFileW(file.path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr));
        file.error = file.handle == nullptr ? GetLastError() : ERROR_SUCCESS;
        if (file.error != ERROR_FILE_EXISTS)
            break;
    }
    return file;
}

// Returns the system's error code.
DWORD WriteAll(HANDLE file, std::string_view bytes)
{
    while (!bytes.empty())
    {
        const auto length = static_cast<DWORD>(std::min(bytes.size(), std::size_t{1} << 20));
        DWORD written = 0;
        if (!WriteFile(file, bytes.data(), length, &written, nullptr))
            return GetLastError();
        bytes.remove_prefix(written);
    }
    // Else the new name could outlive a loss of power, and the bytes not.
    return FlushFileBuffers(file) ? ERROR_SUCCESS : GetLastError();
}

DWORD WriteAndRename(const std::wstring& target, std::string_view bytes)
{
    FreshFile fresh = CreateBeside(target);
    if (fresh.error != ERROR_SUCCESS)
        return fresh.error;
    DWORD error = WriteAll(fresh.handle.get(), bytes);
    fresh.handle.reset();
    if (error == ERROR_SUCCESS && !MoveFileExW(fresh.path.c_str(), target.c_str(), MOVEFILE_REPLACE_EXISTING))
        error = GetLastError();
    if (error != ERROR_SUCCESS)
        // Whatever keeps it from being deleted, the first failure is the one to tell.
        static_cast<void>(DeleteFileW(fresh.path.c_str()));
    return error;
}

} // namespace

void WriteWholeFile(const std::string& what, const std::string& path, std::string_view bytes)
{
    if (const DWORD error = WriteAndRename(FullPath(ToWide(path)), bytes); error != ERROR_SUCCESS)
        throw CFailure(exitNotWritten,
                       what + " \"" + path + "\" cannot be written (Windows error " + std::to_string(error) + ").");
}

} // namespace prodsweep
