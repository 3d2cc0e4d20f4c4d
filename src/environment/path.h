#pragma once

#include <string>

namespace prodsweep {

class CPath
{
public:
    // The folder of the module that this code is linked into, with its trailing "\".
    // On failure folder keeps what it held.
    [[nodiscard]] static bool GetCurrentPath(std::wstring& folder);

    // PathCanonicalizeW in place. A text that it refuses stays as it is.
    static std::wstring& Canonicalise(std::wstring& path);
};

} // namespace prodsweep
