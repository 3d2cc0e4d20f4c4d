// Three searches for the keys of a tree whose values hold one of some texts. They read alike and end
// differently, on purpose:
//
//                   on a match                         below a key                    without a match
//   DelKeySearch    deletes that key, stops below it   the name under this subkey     success
//   CheckKeySearch  success at once                    the same name, but from the    success as well
//                                                      opened key: see there
//   ExpandKeySearch lists that key, stops below it     the name under this subkey     success
#include "registry/reg_key_helper.h"

#include "environment/log.h"
#include "registry/key_access.h"
#include "registry/key_circle.h"
#include "registry/key_enumerator.h"
#include "registry/split_key_path.h"

#include <algorithm>
#include <string_view>

namespace prodsweep {
namespace {

// Only text is searched, and only in the data. An empty search text occurs in every text.
bool Holds(DWORD type, std::wstring_view data, const WideStringList& search, bool complete)
{
    if (type != REG_SZ && type != REG_EXPAND_SZ)
        return false;
    return std::any_of(search.begin(), search.end(), [&](const std::wstring& text) {
        return complete ? data == text : data.find(text) != std::wstring_view::npos;
    });
}

// Goes on to the next value that holds a search text. ERROR_SUCCESS: it is there;
// ERROR_NO_MORE_ITEMS: there is none; ERROR_MORE_DATA: call again; anything else: failed.
LSTATUS NextHit(CValueEnumerator& value, const WideStringList& search, bool complete)
{
    LSTATUS status = ERROR_SUCCESS;
    do
        status = value.Next();
    while (status == ERROR_SUCCESS && !Holds(value.Type(), value.Data(), search, complete));
    return status;
}

// Past data that grows meanwhile. They may be large: their buffer is gone before the walk goes below this key.
LSTATUS FirstHit(HKEY key, const KeyMaxima& maxima, const WideStringList& search, bool complete)
{
    CValueEnumerator value(key, maxima, CValueEnumerator::Parts::NameAndData);
    LSTATUS status = NextHit(value, search, complete);
    while (status == ERROR_MORE_DATA)
        status = NextHit(value, search, complete);
    return status;
}

} // namespace

int CRegKeyHelper::DelKeySearch(const wchar_t* key, const WideStringList& search, bool complete, bool x32view,
                                IUsed* used)
{
    LOG(LogTrace, L"path = \"%s\"", key);
    HKEY hive = nullptr;
    std::wstring subkey;
    bool inUse = false;
    const int result = CSplitKeyPath().Split(key, hive, subkey)
                           ? DelKeySearch(hive, subkey, search, complete, x32view, used, &inUse)
                           : _ERROR_NOT_FOUND;
    LOG(LogTrace, L"path = \"%s\", err = %s", key, ResultCodeName(result));
    return result;
}

int CRegKeyHelper::DelKeySearch(HKEY hive, const std::wstring& subkey, const WideStringList& search, bool complete,
                                bool x32view, IUsed* used, bool* inUse)
{
    const wchar_t* const hiveName = HiveName(hive);
    if (hiveName == nullptr)
    {
        LOG(LogWarning, L"DelKeySearch unknown hkey=0x%x, subkey=\"%s\"", KeyNumber(hive), subkey.c_str());
        return _ERROR_FAILED;
    }
    LOG(LogTrace, L"DelKeySearch \"%s\" \\ \"%s\"", hiveName, subkey.c_str());
    UniqueRegKey key;
    if (const LSTATUS status = OpenKey(hive, subkey, ViewMask(x32view), key); status != ERROR_SUCCESS)
    {
        LOG(LogError, L"RegOpenKeyEx \"%s\" failed 0x%x", subkey.c_str(), status);
        return _ERROR_NOT_FOUND;
    }
    if (inUse != nullptr)
        *inUse = false;

    // Values that can't be read as a whole are not searched at all; the subkeys still are.
    std::vector<RegValueRecord> values;
    if (GetValues(key.get(), values) == _ERROR_SUCCESS &&
        std::any_of(values.begin(), values.end(),
                    [&](const RegValueRecord& value) { return Holds(value.type, value.data, search, complete); }))
    {
        key.reset();
        return DeleteKey(hive, subkey, x32view, used, inUse);
    }
    WideStringList names;
    if (const int result = GetSubKeys(key.get(), names); result != _ERROR_SUCCESS)
    {
        LOG(LogError, L"GetSubKeys failed 0x%x", result);
        return result;
    }
    if (!names.empty() && LeadsBack(key.get(), hive, subkey, x32view))
    {
        LOG(LogWarning, L"\"%s\" leads back to a key around it", subkey.c_str());
        return _ERROR_SUCCESS;
    }
    int kept = _ERROR_SUCCESS;
    for (const std::wstring& name : names)
    {
        const std::wstring child = (subkey + L"\\").append(name);
        const int result = DelKeySearch(hive, child, search, complete, x32view, used, inUse);
        if (result == _ERROR_SUCCESS || result == _ERROR_NOT_FOUND)
            continue;
        LOG(LogError, L"DelKeySearch %s failed 0x%x", child.c_str(), result);
        kept = result;
    }
    return kept;
}

int CRegKeyHelper::CheckKeySearch(const wchar_t* key, const WideStringList& search, bool complete, bool x32view)
{
    LOG(LogTrace, L"path = \"%s\"", key);
    HKEY hive = nullptr;
    std::wstring subkey;
    // The only one of the three that leaves without the closing line here.
    if (!CSplitKeyPath().Split(key, hive, subkey))
        return _ERROR_NOT_FOUND;
    const int result = CheckKeySearch(hive, subkey, search, complete, x32view);
    LOG(LogTrace, L"path = \"%s\", err = %s", key, ResultCodeName(result));
    return result;
}

int CRegKeyHelper::CheckKeySearch(HKEY hive, const std::wstring& subkey, const WideStringList& search, bool complete,
                                  bool x32view)
{
    if (const wchar_t* const hiveName = HiveName(hive); hiveName != nullptr)
        LOG(LogTrace, L"\"%s\" \\ \"%s\"", hiveName, subkey.c_str());
    else
        LOG(LogTrace, L"\"%s\"", subkey.c_str());
    UniqueRegKey key;
    LSTATUS status = OpenKey(hive, subkey, ViewMask(x32view), key);
    if (status != ERROR_SUCCESS)
    {
        LOG(LogError, L"RegOpenKeyEx \"%s\" failed 0x%x", subkey.c_str(), status);
        return _ERROR_NOT_FOUND;
    }
    KeyMaxima maxima;
    status = QueryMaxima(key.get(), maxima);
    if (status != ERROR_SUCCESS)
    {
        LOG(LogError, L"RegQueryInfoKey \"%s\" failed 0x%x", subkey.c_str(), status);
        return _ERROR_UNKNOWN;
    }
    status = FirstHit(key.get(), maxima, search, complete);
    if (status == ERROR_SUCCESS)
        return _ERROR_SUCCESS;
    if (status != ERROR_NO_MORE_ITEMS)
    {
        LOG(LogError, L"RegEnumValue \"%s\" failed 0x%x", subkey.c_str(), status);
        return _ERROR_UNKNOWN;
    }
    if (maxima.subkeyName != 0 && LeadsBack(key.get(), hive, subkey, x32view))
    {
        LOG(LogWarning, L"\"%s\" leads back to a key around it", subkey.c_str());
        return _ERROR_SUCCESS;
    }
    CSubkeyEnumerator child(key.get(), maxima);
    while ((status = child.Next()) != ERROR_NO_MORE_ITEMS)
    {
        if (status == ERROR_MORE_DATA)
            continue;
        if (status != ERROR_SUCCESS)
        {
            LOG(LogError, L"RegEnumKeyEx \"%s\" failed 0x%x", subkey.c_str(), status);
            return _ERROR_UNKNOWN;
        }
        // Deliberate: the descent starts from the opened key but names the child from the root of the
        // walk, so it finds the child only if such a path happens to exist below the opened key.
        const std::wstring path = (subkey + L"\\").append(child.Name());
        if (CheckKeySearch(key.get(), path, search, complete, x32view) == _ERROR_SUCCESS)
            return _ERROR_SUCCESS;
    }
    // Deliberate: a key that could be searched counts as found, whether or not anything matched.
    return _ERROR_SUCCESS;
}

int CRegKeyHelper::ExpandKeySearch(const wchar_t* key, const WideStringList& search, bool complete, bool x32view,
                                   UsedRegItemList& keys, UsedRegItemList& values)
{
    LOG(LogTrace, L"path = \"%s\"", key);
    HKEY hive = nullptr;
    std::wstring subkey;
    const int result = CSplitKeyPath().Split(key, hive, subkey)
                           ? ExpandKeySearch(hive, subkey, search, complete, x32view, keys, values)
                           : _ERROR_NOT_FOUND;
    LOG(LogTrace, L"path = \"%s\", err = %s", key, ResultCodeName(result));
    return result;
}

int CRegKeyHelper::ExpandKeySearch(HKEY hive, const std::wstring& subkey, const WideStringList& search, bool complete,
                                   bool x32view, UsedRegItemList& keys, UsedRegItemList& values)
{
    const wchar_t* const hiveName = HiveName(hive);
    if (hiveName == nullptr)
    {
        LOG(LogWarning, L"can't expand unknown hkey=0x%x, subkey=\"%s\"", KeyNumber(hive), subkey.c_str());
        return _ERROR_FAILED;
    }
    LOG(LogTrace, L"\"%s\" \\ \"%s\"", hiveName, subkey.c_str());
    UniqueRegKey key;
    if (const LSTATUS opened = OpenKey(hive, subkey, ViewMask(x32view), key); opened != ERROR_SUCCESS)
    {
        LOG(LogError, L"RegOpenKeyEx \"%s\" failed 0x%x", subkey.c_str(), opened);
        return _ERROR_NOT_FOUND;
    }
    KeyMaxima maxima;
    LSTATUS status = QueryMaxima(key.get(), maxima);
    if (status != ERROR_SUCCESS)
    {
        LOG(LogError, L"RegQueryInfoKey \"%s\" failed 0x%x", subkey.c_str(), status);
        return _ERROR_UNKNOWN;
    }
    status = ExpandKeySearch(key.get(), maxima, search, complete);
    if (status == ERROR_SUCCESS)
    {
        key.reset();
        keys.push_back({FullPath(hiveName, subkey), x32view});
        return ExpandKey(hive, subkey, x32view, keys, values);
    }
    if (status != ERROR_NO_MORE_ITEMS)
    {
        LOG(LogError, L"RegEnumValue \"%s\" failed 0x%x", subkey.c_str(), status);
        return _ERROR_UNKNOWN;
    }
    if (maxima.subkeyName != 0 && LeadsBack(key.get(), hive, subkey, x32view))
    {
        LOG(LogWarning, L"\"%s\" leads back to a key around it", subkey.c_str());
        return _ERROR_SUCCESS;
    }
    CSubkeyEnumerator child(key.get(), maxima);
    while ((status = ExpandKeySearch(child)) == ERROR_SUCCESS)
    {
        const std::wstring path = (subkey + L"\\").append(child.Name());
        const int result = ExpandKeySearch(hive, path, search, complete, x32view, keys, values);
        if (result != _ERROR_SUCCESS)
            LOG(LogWarning, L"ExpandKeySearch \"%s\" \\ \"%s\" failed %s", hiveName, path.c_str(),
                ResultCodeName(result));
    }
    if (status != ERROR_NO_MORE_ITEMS)
        LOG(LogError, L"RegEnumKeyEx \"%s\" failed 0x%x", subkey.c_str(), status);
    return status == ERROR_NO_MORE_ITEMS ? _ERROR_SUCCESS : _ERROR_UNKNOWN;
}

LSTATUS CRegKeyHelper::ExpandKeySearch(HKEY key, const KeyMaxima& maxima, const WideStringList& search, bool complete)
{
    // The data may be large: its buffer is gone before the walk goes below this key.
    CValueEnumerator value(key, maxima, CValueEnumerator::Parts::NameAndData);
    LSTATUS status = NextHit(value, search, complete);
    for (; status == ERROR_MORE_DATA; status = NextHit(value, search, complete))
        LOG(LogTrace, L"RegEnumValue ERROR_MORE_DATA");
    return status;
}

LSTATUS CRegKeyHelper::ExpandKeySearch(CSubkeyEnumerator& child)
{
    LSTATUS status = child.Next();
    for (; status == ERROR_MORE_DATA; status = child.Next())
        LOG(LogTrace, L"RegEnumKeyEx ERROR_MORE_DATA");
    return status;
}

} // namespace prodsweep
