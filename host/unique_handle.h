// Owner of a kernel handle.
#pragma once

#include <memory>

#include <windows.h>

namespace prodsweep {

struct HandleCloser
{
    void operator()(HANDLE handle) const noexcept { CloseHandle(handle); }
};
using UniqueHandle = std::unique_ptr<void, HandleCloser>;

// Files and snapshots that could not be opened come as INVALID_HANDLE_VALUE; here as null.
inline UniqueHandle OwnHandle(HANDLE handle) { return UniqueHandle(handle == INVALID_HANDLE_VALUE ? nullptr : handle); }

} // namespace prodsweep
