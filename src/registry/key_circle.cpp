#include "registry/key_circle.h"

#include "registry/key_access.h"
#include "registry/native_key_name.h"

#include <string_view>

namespace prodsweep {
namespace {

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
    const std::wstring path = NativeKeyName(key);
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
            IsSame(NativeKeyName(passed.get()), path))
            return true;
    }
    return false;
}

} // namespace prodsweep
