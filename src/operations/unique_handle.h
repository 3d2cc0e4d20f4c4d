#pragma once

#include <windows.h>

#include <memory>

namespace prodsweep {

struct HandleCloser
{
    using pointer = HANDLE;
    void operator()(HANDLE handle) const noexcept { CloseHandle(handle); }
};

// Owner of a handle whose empty value is null: a file's INVALID_HANDLE_VALUE is not to get in.
using UniqueHandle = std::unique_ptr<HANDLE, HandleCloser>;

} // namespace prodsweep
