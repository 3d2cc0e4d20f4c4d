#include "module_path.h"

#include "exit_codes.h"
#include "failure.h"
#include "path_answer.h"
#include "text.h"

namespace prodsweep {

std::wstring ModulePath(HMODULE module)
{
    // The call does not tell how much it needs.
    std::wstring path(longestPath, L'\0');
    const DWORD length = GetModuleFileNameW(module, path.data(), longestPath);
    const DWORD error = GetLastError();
    if (length == 0 || length >= longestPath)
        throw CFailure(static_cast<int>(error),
                       "the path of a loaded file cannot be found out (Windows error " + std::to_string(error) + ").");
    path.resize(length);
    return path;
}

std::wstring FolderOf(const std::wstring& path) { return path.substr(0, path.find_last_of(L'\\') + 1); }

std::wstring FullPath(const std::wstring& path)
{
    std::wstring full =
        PathAnswer([&](wchar_t* buffer, DWORD size) { return GetFullPathNameW(path.c_str(), size, buffer, nullptr); });
    if (full.empty())
        throw CFailure(exitBadArguments, '"' + ToUtf8(path) + "\" is not a path.");
    return full;
}

} // namespace prodsweep
