#include "key_place.h"

#include "common/path_join.h"
#include "key_name.h"
#include "native_key.h"
#include "registry/native_key_name.h"
#include "registry/split_key_path.h"

namespace prodsweep {

bool SplitPlace(const std::wstring& key, KeyPlace& place)
{
    if (!CSplitKeyPath().Split(key.c_str(), place.hive, place.subkey))
        return false;
    place.full = HiveName(place.hive);
    PathJoin(place.full, place.subkey);
    return true;
}

LSTATUS OpenPlace(const KeyPlace& place, REGSAM access, UniqueRegKey& key)
{
    HKEY opened = nullptr;
    const LSTATUS status = RegOpenKeyExW(place.hive, place.subkey.c_str(), 0, access, &opened);
    key.reset(opened);
    return status;
}

bool MayBeDeleted(const KeyPlace& place)
{
    UniqueRegKey key;
    return OpenPlace(place, KEY_ALL_ACCESS, key) == ERROR_SUCCESS;
}

std::wstring LeadsElsewhere(const KeyPlace& place)
{
    const std::wstring opened = CanonicalOpenedKey(place.hive, place.subkey);
    UniqueRegKey key;
    if (opened.empty() || opened == CanonicalKey(place.hive, place.subkey) ||
        OpenPlace(place, KEY_READ, key) != ERROR_SUCCESS)
        return {};
    return ReadableKeyName(NativeKeyName(key.get()));
}

} // namespace prodsweep
