#include "pending_path.h"

#include <algorithm>
#include <iterator>
#include <string_view>
#include <utility>

#include <windows.h>

#include "path_answer.h"

namespace prodsweep {

namespace {

struct Prefix
{
    std::wstring_view native;
    std::wstring_view plain;
};

// The first that fits counts.
constexpr Prefix prefixes[] = {
    {L"\\??\\UNC\\", L"\\\\"}, {L"\\\\?\\UNC\\", L"\\\\"}, {L"\\??\\", L""},
    {L"\\\\?\\", L""},         {L"\\DosDevices\\", L""},
};

bool SameText(std::wstring_view left, std::wstring_view right)
{
    return CompareStringOrdinal(left.data(), static_cast<int>(left.size()), right.data(),
                                static_cast<int>(right.size()), TRUE) == CSTR_EQUAL;
}

bool StartsWith(std::wstring_view text, std::wstring_view start)
{
    return text.size() >= start.size() && SameText(text.substr(0, start.size()), start);
}

const Prefix* PrefixOf(std::wstring_view path)
{
    const auto* prefix = std::find_if(std::begin(prefixes), std::end(prefixes),
                                      [&](const Prefix& candidate) { return StartsWith(path, candidate.native); });
    return prefix == std::end(prefixes) ? nullptr : prefix;
}

bool IsOnDrive(std::wstring_view path) { return path.size() >= 3 && path[1] == L':' && path[2] == L'\\'; }

std::wstring WithoutTrailingSeparators(std::wstring path)
{
    // "C:\" is the drive's root, and "C:" is not.
    while (!path.empty() && path.back() == L'\\' && (path.size() != 3 || !IsOnDrive(path)))
        path.pop_back();
    return path;
}

// Newer systems may put a star and a number before a path.
std::wstring_view WithoutMark(std::wstring_view entry)
{
    if (!entry.starts_with(L'*'))
        return entry;
    const std::size_t end = entry.find_first_not_of(L"0123456789", 1);
    return end != std::wstring_view::npos && end > 1 && entry[end] == L'\\' ? entry.substr(end) : entry;
}

// The system's long name of an existing path on a drive; empty when there is none.
std::wstring LongNameOf(const std::wstring& path)
{
    // Beyond that length only paths that are so marked are taken.
    const std::wstring marker = path.size() < MAX_PATH ? L"" : L"\\\\?\\";
    const std::wstring marked = marker + path;
    const std::wstring name =
        PathAnswer([&](wchar_t* buffer, DWORD size) { return GetLongPathNameW(marked.c_str(), buffer, size); });
    return name.size() <= marker.size() ? std::wstring() : name.substr(marker.size());
}

} // namespace

std::wstring PathOfEntry(const std::wstring& entry)
{
    std::wstring path(WithoutMark(entry));
    if (const Prefix* prefix = PrefixOf(path); prefix != nullptr)
        path.replace(0, prefix->native.size(), prefix->plain);
    return WithoutTrailingSeparators(std::move(path));
}

std::wstring FullPathOf(const std::wstring& typed)
{
    // Behind such a prefix everything counts as it stands, dots and blanks at the end too.
    if (PrefixOf(typed) != nullptr)
        return PathOfEntry(typed);
    return WithoutTrailingSeparators(PathAnswer(
        [&](wchar_t* buffer, DWORD size) { return GetFullPathNameW(typed.c_str(), size, buffer, nullptr); }));
}

std::wstring WithLongNames(const std::wstring& path)
{
    // All short names have it, and no look at a drive is needed without.
    if (path.find(L'~') == std::wstring::npos || !IsOnDrive(path))
        return path;
    // What is yet to be written has no names to ask for, but the folders above it have.
    for (std::size_t end = path.size(); end != std::wstring::npos && end > 2; end = path.rfind(L'\\', end - 1))
    {
        if (const std::wstring name = LongNameOf(path.substr(0, end)); !name.empty())
            return name + path.substr(end);
    }
    return path;
}

bool IsSamePath(const std::wstring& left, const std::wstring& right) { return SameText(left, right); }

bool IsBelow(const std::wstring& folder, const std::wstring& path)
{
    const bool endsInSeparator = folder.ends_with(L'\\');
    return !folder.empty() && path.size() > folder.size() && StartsWith(path, folder) &&
           (endsInSeparator || path[folder.size()] == L'\\');
}

} // namespace prodsweep
