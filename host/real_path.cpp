#include "real_path.h"

#include <algorithm>
#include <utility>

#include "common/unique_handle.h"
#include "path_answer.h"
#include "text.h"

namespace prodsweep {

namespace {

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
    const std::wstring full =
        PathAnswer([&](wchar_t* buffer, DWORD size) { return GetFullPathNameW(path.c_str(), size, buffer, nullptr); });
    return full.empty() ? path : full;
}

// Empty when it does not exist, or can't be opened.
std::wstring FinalPath(const std::wstring& path)
{
    const UniqueHandle file = OwnHandle(CreateFileW(path.c_str(), FILE_READ_ATTRIBUTES,
                                                    FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                                    OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr));
    if (file == nullptr)
        return {};
    return WithoutDevicePrefix(PathAnswer([&](wchar_t* buffer, DWORD size) {
        return GetFinalPathNameByHandleW(file.get(), buffer, size, VOLUME_NAME_DOS);
    }));
}

std::wstring WithoutTrailingSeparator(std::wstring path)
{
    while (path.size() > 3 && path.back() == L'\\')
        path.pop_back();
    return path;
}

// Deliberate in the deletion: a drive without a separator gets one, and so is the drive's root, not its current folder.
bool IsDrive(const std::wstring& path) { return path.size() == 2 && path[1] == L':'; }

// Windows skips dots and blanks at the end of a name.
std::wstring WithoutTrailingDots(const std::wstring& path)
{
    std::wstring trimmed;
    for (std::size_t begin = 0; begin <= path.size();)
    {
        const std::size_t end = std::min(path.find(L'\\', begin), path.size());
        const std::size_t last = path.find_last_not_of(L". ", end == 0 ? 0 : end - 1);
        if (end != begin)
            trimmed.append(path, begin, (last == std::wstring::npos || last < begin ? begin : last + 1) - begin);
        if (end != path.size())
            trimmed += L'\\';
        begin = end + 1;
    }
    return WithoutTrailingSeparator(std::move(trimmed));
}

} // namespace

std::wstring RealPath(const std::wstring& path)
{
    // Opening follows also spellings that are no paths of a drive, such as those of devices.
    if (std::wstring final = FinalPath(IsDrive(path) ? path + L'\\' : path); !final.empty())
        return WithoutTrailingSeparator(std::move(final));
    // After the prefix went, dots and slashes are looked at anew: in "\\?\C:\x\.." the two dots are a name to Windows,
    // and so it would find nothing there. Taking them for what they look like errs on the safe side.
    std::wstring full = WithoutTrailingDots(Full(WithoutDevicePrefix(IsDrive(path) ? path + L'\\' : Full(path))));
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
