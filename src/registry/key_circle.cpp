#include "registry/key_circle.h"

#include "registry/key_access.h"

#include <string_view>

namespace prodsweep {
namespace {

using NtQueryKeyCall = LONG(NTAPI*)(HANDLE, int, void*, ULONG, ULONG*);

NtQueryKeyCall BindNtQueryKey()
{
    const HMODULE module = GetModuleHandleW(L"ntdll.dll");
    const FARPROC entry = module != nullptr ? GetProcAddress(module, "NtQueryKey") : nullptr;
    return reinterpret_cast<NtQueryKeyCall>(reinterpret_cast<void*>(entry));
}

// The system's own path of a key, from which all links are gone. Empty when it is not told.
std::wstring NativePath(HKEY key)
{
    static const NtQueryKeyCall query = BindNtQueryKey();
    constexpr int keyNameInformation = 3;
    constexpr std::size_t lengthSize = sizeof(ULONG) / sizeof(wchar_t); // of the path, which follows it
    constexpr std::size_t usualSize = 256;
    if (query == nullptr)
        return {};
    std::wstring answer(usualSize, L'\0');
    ULONG bytes = 0;
    LONG status = query(key, keyNameInformation, answer.data(), usualSize * sizeof(wchar_t), &bytes);
    if (status < 0 && bytes > usualSize * sizeof(wchar_t))
    {
        answer.resize(bytes / sizeof(wchar_t) + 1);
        status = query(key, keyNameInformation, answer.data(), bytes, &bytes);
    }
    if (status < 0)
        return {};
    answer.resize(bytes / sizeof(wchar_t));
    return answer.erase(0, lengthSize);
}

bool IsSame(std::wstring_view left, std::wstring_view right)
{
    return left.size() == right.size() && CompareStringOrdinal(left.data(), static_cast<int>(left.size()), right.data(),
                                                               static_cast<int>(right.size()), TRUE) == CSTR_EQUAL;
}

bool EndsWith(std::wstring_view path, std::wstring_view subkey)
{
    return path.size() > subkey.size() && path[path.size() - subkey.size() - 1] == L'\\' &&
           IsSame(path.substr(path.size() - subkey.size()), subkey);
}

void TrimSeparators(std::wstring& subkey) { subkey.resize(subkey.find_last_not_of(L'\\') + 1); }

} // namespace

bool LeadsBack(HKEY key, HKEY hive, const std::wstring& subkey, bool x32view)
{
    const std::wstring path = NativePath(key);
    // Mostly: no link on the way, and so no other key is asked.
    if (path.empty() || EndsWith(path, subkey))
        return false;
    const REGSAM view = ViewMask(x32view) & (KEY_WOW64_32KEY | KEY_WOW64_64KEY);
    std::wstring way = subkey;
    TrimSeparators(way);
    while (!way.empty())
    {
        way.resize(way.find_last_of(L'\\') + 1);
        TrimSeparators(way);
        UniqueRegKey passed;
        if (OpenKey(hive, way, KEY_QUERY_VALUE | view, passed) == ERROR_SUCCESS &&
            IsSame(NativePath(passed.get()), path))
            return true;
    }
    return false;
}

} // namespace prodsweep
