#include "paths.h"

namespace prodsweep::logger {

namespace {

// call(buffer, size) gives the length of the text, or more than fits, or 0.
template <class Call>
std::wstring TextOf(const Call& call)
{
    std::wstring text(longestPath, L'\0');
    const DWORD length = call(text.data(), longestPath);
    text.resize(length < longestPath ? length : 0);
    return text;
}

bool IsAbsolute(const std::wstring& path)
{
    return path.starts_with(L'\\') || path.starts_with(L'/') || (path.size() > 1 && path[1] == L':');
}

} // namespace

std::wstring ExpandVariables(const std::wstring& text)
{
    // Its length counts the terminating zero.
    std::wstring expanded =
        TextOf([&](wchar_t* buffer, DWORD size) { return ExpandEnvironmentStringsW(text.c_str(), buffer, size); });
    if (!expanded.empty())
        expanded.pop_back();
    return expanded;
}

std::wstring FullPathBelow(const std::wstring& folder, const std::wstring& path)
{
    if (path.empty())
        return {};
    const std::wstring joined = IsAbsolute(path) ? path : folder + path;
    return TextOf([&](wchar_t* buffer, DWORD size) { return GetFullPathNameW(joined.c_str(), size, buffer, nullptr); });
}

std::wstring FolderOf(const std::wstring& path) { return path.substr(0, path.find_last_of(L'\\') + 1); }

std::wstring Canonical(const std::wstring& path)
{
    const std::wstring folder = FolderOf(path);
    const std::wstring longFolder =
        TextOf([&](wchar_t* buffer, DWORD size) { return GetLongPathNameW(folder.c_str(), buffer, size); });
    std::wstring spelling = (longFolder.empty() ? folder : longFolder) + path.substr(folder.size());
    const int length = static_cast<int>(spelling.size());
    std::wstring capitals(spelling.size(), L'\0');
    if (LCMapStringW(LOCALE_INVARIANT, LCMAP_UPPERCASE, spelling.data(), length, capitals.data(), length) == length)
        return capitals;
    return spelling;
}

} // namespace prodsweep::logger
