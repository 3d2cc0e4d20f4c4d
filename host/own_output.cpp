#include "own_output.h"

#include <windows.h>

namespace prodsweep {

namespace {

// Those that a DLL may share with others, and that may have been loaded before: they got standard output then.
// Any other asks for it when it comes in.
constexpr const wchar_t* sharedRuntimes[] = {L"msvcrt.dll", L"ucrtbase.dll"};

void RedirectRuntime(HMODULE runtime)
{
    constexpr int out = 1;
    constexpr int err = 2;
    const auto duplicate =
        reinterpret_cast<int (*)(int, int)>(reinterpret_cast<void*>(GetProcAddress(runtime, "_dup2")));
    const auto close = reinterpret_cast<int (*)(int)>(reinterpret_cast<void*>(GetProcAddress(runtime, "_close")));
    if (duplicate == nullptr || close == nullptr || duplicate(err, out) == 0)
        return;
    // There is no standard error: what is printed is for nobody.
    close(out);
}

} // namespace

void KeepOutputToOurselves()
{
    // A runtime closes what it gives up. The stream is still ours, and no tool shall keep it open after us. Fails for
    // what is no stream, and then nothing can be written to it either.
    static_cast<void>(SetHandleInformation(GetStdHandle(STD_OUTPUT_HANDLE),
                                           HANDLE_FLAG_INHERIT | HANDLE_FLAG_PROTECT_FROM_CLOSE,
                                           HANDLE_FLAG_PROTECT_FROM_CLOSE));
    for (const wchar_t* const name : sharedRuntimes)
    {
        if (HMODULE const runtime = GetModuleHandleW(name); runtime != nullptr)
            RedirectRuntime(runtime);
    }
    // Last, since a runtime may set it too, to a handle of its own. Cannot fail: it is a note in this process.
    SetStdHandle(STD_OUTPUT_HANDLE, GetStdHandle(STD_ERROR_HANDLE));
}

} // namespace prodsweep
