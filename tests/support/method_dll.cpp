// A library whose methods are called. What happens to it, it adds to an environment variable of the
// process: "attach;Succeed;detach;".
#include <windows.h>

#include <cstdio>
#include <string>

namespace {

void Trace(const wchar_t* what)
{
    constexpr wchar_t variable[] = L"PRODSWEEP_METHOD_TRACE";
    wchar_t before[1024] = {};
    GetEnvironmentVariableW(variable, before, 1024);
    SetEnvironmentVariableW(variable, (std::wstring(before) + what + L";").c_str());
}

} // namespace

// An exported name of one byte beyond ASCII: which letter that is, the code page tells.
#ifdef _MSC_VER
#pragma comment(linker, "/export:Method\xD9=NonAsciiName")
#define NON_ASCII_NAME
#else
#define NON_ASCII_NAME __asm__("Method\xD9")
#endif

extern "C"
{
    __declspec(dllexport) int Succeed()
    {
        Trace(L"Succeed");
        return 0;
    }

    __declspec(dllexport) int Fail()
    {
        Trace(L"Fail");
        return static_cast<int>(0xDEADBEEF);
    }

    __declspec(dllexport) int Print()
    {
        Trace(L"Print");
        std::puts("words of a method");
        return 0;
    }

    __declspec(dllexport) int NonAsciiName() NON_ASCII_NAME;
    int NonAsciiName()
    {
        Trace(L"NonAsciiName");
        return 0;
    }
}

extern "C" BOOL WINAPI DllMain(HINSTANCE, DWORD reason, void*)
{
    if (reason == DLL_PROCESS_ATTACH)
        Trace(L"attach");
    else if (reason == DLL_PROCESS_DETACH)
        Trace(L"detach");
    return TRUE;
}
