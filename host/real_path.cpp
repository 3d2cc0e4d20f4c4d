#include "real_path.h"

#include <string_view>

#include "text.h"
#include "unique_handle.h"

namespace prodsweep {

namespace {

// Windows' own limit for a path, with its terminating zero.
constexpr DWORD longestPath = 32768;

// "\\?\C:\x" and "\\.\C:\x" are C:\x, "\\?\UNC\server\share" is "\\server\share".
std::wstring WithoutDevicePrefix(const std::wstring& path)
{
    const bool isDevice = path.starts_with(LR"(\\?\)") || path.starts_with(LR"(\\.\)") || path.starts_with(LR"(\??\)");
    if (!isDevice)
        return path;
    const std::wstring rest = path.substr(4);
    return ToLower(rest.substr(0, 4)) == LR"(unc\)" ? LR"(\\)" + rest.substr(4) : rest;
}

std::wstring Full(const std::wstring& path)
{
    std::wstring full(longestPath, L'\0');
    const DWORD length = GetFullPathNameW(path.c_str(), longestPath, full.data(), nullptr);
    if (length == 0 || length >= longestPath)
        return path;
    full.resize(length);
    return full;
}

// Empty when it does not exist, or can't be opened.
std::wstring FinalPath(const std::wstring& path)
{
    const UniqueHandle file = OwnHandle(CreateFileW(path.c_str(), FILE_READ_ATTRIBUTES,
                                                    FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                                    OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr));
    if (file == nullptr)
        return {};
    std::wstring final(longestPath, L'\0');
    const DWORD length = GetFinalPathNameByHandleW(file.get(), final.data(), longestPath, VOLUME_NAME_DOS);
    if (length == 0 || length >= longestPath)
        return {};
    final.resize(length);
    return WithoutDevicePrefix(final);
}

std::wstring WithoutTrailingSeparator(std::wstring path)
{
    while (path.size() > 3 && path.back() == L'\\')
        path.pop_back();
    return path;
}

} // namespace

std::wstring RealPath(const std::wstring& path)
{
    // After the prefix went, dots and slashes are looked at anew: in "\\?\C:\x\.." the two dots are a name to Windows,
    // and so it would find nothing there. Taking them for what they look like errs on the safe side.
    const std::wstring full = WithoutTrailingSeparator(Full(WithoutDevicePrefix(Full(path))));
    std::wstring existing = full;
    for (;;)
    {
        if (const std::wstring final = FinalPath(existing); !final.empty())
        {
            std::wstring rest = full.substr(existing.size());
            return WithoutTrailingSeparator(final.back() == L'\\' && rest.starts_with(L'\\') ? final + rest.substr(1)
                                                                                             : final + rest);
        }
        const std::size_t separator = existing.find_last_of(L'\\');
        if (separator == std::wstring::npos || separator < 3)
            return full;
        existing.resize(separator);
    }
}

std::wstring LeadsElsewhere(const std::wstring& path)
{
    std::wstring real = RealPath(path);
    return ToLower(real) == ToLower(WithoutTrailingSeparator(path)) ? std::wstring() : real;
}

} // namespace prodsweep
