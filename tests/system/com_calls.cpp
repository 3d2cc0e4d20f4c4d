#include "system/com_calls.h"

#include <objbase.h>

namespace prodsweep::test {
namespace {

int initialised = 0;
int answeredOk = 0;
int uninitialised = 0;

HRESULT WINAPI CountInitialise(void* reserved)
{
    ++initialised;
    const HRESULT result = CoInitialize(reserved);
    answeredOk += result == S_OK ? 1 : 0;
    return result;
}

void WINAPI CountUninitialise()
{
    ++uninitialised;
    CoUninitialize();
}

} // namespace

ComCalls::ComCalls(HMODULE module)
    : initialise(module, "CoInitialize", CountInitialise), uninitialise(module, "CoUninitialize", CountUninitialise)
{
    initialised = answeredOk = uninitialised = 0;
}

ComCalls::~ComCalls() = default;

int ComCalls::Initialised() { return initialised; }
int ComCalls::AnsweredOk() { return answeredOk; }
int ComCalls::Uninitialised() { return uninitialised; }

} // namespace prodsweep::test
