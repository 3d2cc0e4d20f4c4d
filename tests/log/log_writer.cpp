// Writes to a log from a process of its own: log_writer LOG_DLL NAME COUNT [WAY]. COUNT trace lines "NAME 0", "NAME
// 1"... and one error line "NAME last", after which it ends in its WAY: "killed" at once, "exit" while threads of it
// still write, with prodsweep.dll loaded from the DLL's folder; else in good order.
#include "prodsweep/log.h"

#include <windows.h>

#include <cstdarg>
#include <cstdlib>
#include <cwchar>
#include <string>
#include <thread>

namespace {

template <class Function>
Function Bind(HMODULE module, const char* name)
{
    return reinterpret_cast<Function>(reinterpret_cast<void*>(GetProcAddress(module, name)));
}

decltype(&LogWrite) write = nullptr;

void Write(int level, const wchar_t* format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    write(0, &level, "Writer", L"Writer", format, arguments);
    va_end(arguments);
}

void WriteForEver(const wchar_t* name)
{
    for (int i = 0;; ++i)
        Write(LOG_LEVEL_TRACE, L"%s %d of a thread", name, i);
}

void WaitAtGate(const std::wstring& name)
{
    const HANDLE gate = OpenEventW(SYNCHRONIZE, FALSE, name.c_str());
    ReleaseSemaphore(OpenSemaphoreW(SEMAPHORE_MODIFY_STATE, FALSE, (name + L"ready").c_str()), 1, nullptr);
    WaitForSingleObject(gate, INFINITE);
}

} // namespace

// Started by the system's own code. NOLINTNEXTLINE(misc-use-internal-linkage)
int wmain(int argc, wchar_t** argv)
{
    constexpr int fewest = 4;
    if (argc < fewest)
        return EXIT_FAILURE;
    const std::wstring dll = argv[1];
    const std::wstring way = argc > fewest ? argv[4] : L"";
    const HMODULE module = LoadLibraryExW(dll.c_str(), nullptr, 0);
    Bind<decltype(&LogInit)>(module, "LogInit")();
    write = Bind<decltype(&LogWrite)>(module, "LogWrite");
    if (way.starts_with(L"gate"))
        WaitAtGate(way);
    const int count = std::wcstol(argv[3], nullptr, 10);
    for (int i = 0; i < count; ++i)
        Write(LOG_LEVEL_TRACE, L"%s %d", argv[2], i);
    Write(LOG_LEVEL_ERROR, L"%s last", argv[2]);
    if (way == L"killed")
        TerminateProcess(GetCurrentProcess(), EXIT_SUCCESS);
    if (way == L"exit")
    {
        const std::wstring client = dll.substr(0, dll.find_last_of(L'\\') + 1) + L"prodsweep.dll";
        if (LoadLibraryExW(client.c_str(), nullptr, 0) == nullptr)
            return EXIT_FAILURE;
        for (int i = 0; i < 4; ++i)
            std::thread(WriteForEver, argv[2]).detach();
        constexpr DWORD untilAllWrite = 50;
        Sleep(untilAllWrite);
        ExitProcess(EXIT_SUCCESS);
    }
    Bind<decltype(&LogDeinit)>(module, "LogDeinit")();
    FreeLibrary(module);
    return EXIT_SUCCESS;
}
