#pragma once

#include <windows.h>

#include <memory>

namespace prodsweep {

struct HandleCloser
{
    void operator()(HANDLE handle) const noexcept { CloseHandle(handle); }
};

// Owner of a kernel handle.
using UniqueHandle = std::unique_ptr<void, HandleCloser>;

// Files and snapshots that could not be opened come as INVALID_HANDLE_VALUE; here as null.
inline UniqueHandle OwnHandle(HANDLE handle) { return UniqueHandle(handle == INVALID_HANDLE_VALUE ? nullptr : handle); }

} // namespace prodsweep
