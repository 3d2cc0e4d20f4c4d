#include "plan_page.h"

#include <algorithm>

#include <windows.h>

#include "exit_codes.h"
#include "failure.h"
#include "module_path.h"
#include "text.h"
#include "unique_handle.h"

namespace prodsweep {

namespace {

// The system's error code; 0 when all was written.
DWORD WriteAll(const std::wstring& path, std::string_view bytes)
{
    const UniqueHandle file =
        OwnHandle(CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
    if (file == nullptr)
        return GetLastError();
    while (!bytes.empty())
    {
        const auto length = static_cast<DWORD>(std::min(bytes.size(), std::size_t{1} << 20));
        DWORD written = 0;
        if (!WriteFile(file.get(), bytes.data(), length, &written, nullptr))
            return GetLastError();
        bytes.remove_prefix(written);
    }
    return ERROR_SUCCESS;
}

} // namespace

void WritePage(const std::string& page, const std::string& path)
{
    if (path.empty())
        throw CFailure(exitBadArguments, "--html needs a file.");
    const std::wstring target = FullPath(ToWide(path));
    // Beside it first: an older page stays until the new one is whole.
    const std::wstring fresh = target + L".part";
    DWORD error = WriteAll(fresh, page);
    if (error == ERROR_SUCCESS && !MoveFileExW(fresh.c_str(), target.c_str(), MOVEFILE_REPLACE_EXISTING))
        error = GetLastError();
    if (error == ERROR_SUCCESS)
        return;
    // What can't be deleted either was not written at all, most likely.
    static_cast<void>(DeleteFileW(fresh.c_str()));
    throw CFailure(exitNotWritten,
                   "the page \"" + path + "\" cannot be written (Windows error " + std::to_string(error) + ").");
}

} // namespace prodsweep
