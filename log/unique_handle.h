#pragma once

#include <memory>

#include <windows.h>

namespace prodsweep::logger {

struct HandleCloser
{
    using pointer = HANDLE;
    void operator()(HANDLE handle) const noexcept { CloseHandle(handle); }
};
// Null when empty, whatever the call that makes such a handle says of a failure.
using UniqueHandle = std::unique_ptr<HANDLE, HandleCloser>;

inline UniqueHandle OwnFile(HANDLE file) noexcept
{
    return UniqueHandle(file == INVALID_HANDLE_VALUE ? nullptr : file);
}

} // namespace prodsweep::logger
