// What no removal may delete as a whole.
#pragma once

#include <string>
#include <vector>

#include <windows.h>

namespace prodsweep {

struct ForbiddenPlace
{
    std::string name;   // a path or a key
    std::string reason; // what it is: "the folder of Windows"
};

class CForbiddenPlaces
{
public:
    // libraryFolder: with its separator at the end.
    explicit CForbiddenPlaces(const std::wstring& libraryFolder);

    // realPath: see RealPath. The place that this is, or that lies below it; null: none.
    const ForbiddenPlace* OfPath(const std::wstring& realPath) const;

    // The same of a key.
    const ForbiddenPlace* OfKey(HKEY hive, const std::wstring& subkey) const;

    // The same of the name of a service, which stands for a key.
    const ForbiddenPlace* OfService(const std::wstring& name) const;
};

} // namespace prodsweep
