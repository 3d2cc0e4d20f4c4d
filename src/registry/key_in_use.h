#pragma once

#include "common/used.h"
#include "registry/key_access.h"

#include <string>

namespace prodsweep {

// Asks whether one key or its values are in use: always by the long hive name, whichever spelling the
// descriptor has. Without anybody to ask, nothing is.
class CKeyInUse
{
public:
    CKeyInUse(IUsed* answerer, const wchar_t* hiveName, const std::wstring& subkey, bool inX32view)
        : used(answerer), full(answerer != nullptr ? FullPath(hiveName, subkey) : std::wstring()), x32view(inX32view)
    {}

    [[nodiscard]] bool Key() const { return used != nullptr && used->IsUsedRegKey(full.c_str(), x32view); }
    [[nodiscard]] bool Value(const std::wstring& name) const
    {
        return used != nullptr && used->IsUsedRegValue(full.c_str(), name.c_str(), x32view);
    }

private:
    IUsed* used;
    std::wstring full;
    bool x32view;
};

} // namespace prodsweep
