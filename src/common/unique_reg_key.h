#pragma once

#include <windows.h>

#include <memory>

namespace prodsweep {

struct RegKeyCloser
{
    using pointer = HKEY;
    void operator()(HKEY key) const noexcept { RegCloseKey(key); }
};

// Owner of an opened registry key.
using UniqueRegKey = std::unique_ptr<HKEY, RegKeyCloser>;

} // namespace prodsweep
