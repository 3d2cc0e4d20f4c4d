// COM for as long as the library's own code runs in this program.
#pragma once

#include <windows.h>

#include <objbase.h>

#include "failure.h"

namespace prodsweep {

class CComUse
{
public:
    CComUse()
    {
        if (const HRESULT result = CoInitialize(nullptr); FAILED(result))
            throw CFailure(static_cast<int>(result), "COM cannot be used.");
    }
    ~CComUse() { CoUninitialize(); }
    CComUse(const CComUse&) = delete;
    CComUse& operator=(const CComUse&) = delete;
};

} // namespace prodsweep
