#pragma once

#include <windows.h>

#include <objbase.h>

namespace prodsweep {

// COM on the calling thread for the length of an export.
//
// Only an S_OK is paired with CoUninitialize. Deliberate: where the thread had COM already (S_FALSE),
// the reference taken here stays, so an export never brings COM down under a caller; and a thread in
// the other apartment model (RPC_E_CHANGED_MODE) is used as it is.
class ComScope
{
public:
    ComScope() noexcept : initialised(CoInitialize(nullptr) == S_OK) {}
    ~ComScope()
    {
        if (initialised)
            CoUninitialize();
    }
    ComScope(const ComScope&) = delete;
    ComScope& operator=(const ComScope&) = delete;

private:
    bool initialised;
};

} // namespace prodsweep
