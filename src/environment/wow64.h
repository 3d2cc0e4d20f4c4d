#pragma once

#include <windows.h>

namespace prodsweep {

// Tells whether this is a 32-bit process on a 64-bit system, and switches the file-system
// redirection of such a process. One object per process.
class CWow64
{
public:
    // The process's object, made on first use and deleted at process exit.
    static CWow64& Instance();

    // Deletes the object; the next Instance() makes it anew. Runs at process exit.
    static void Cleanup() noexcept;

    CWow64(const CWow64&) = delete;
    CWow64& operator=(const CWow64&) = delete;

    [[nodiscard]] bool IsWow64Process();

    // True on success, and true when the system (or a process that is not redirected) has no such
    // call: then there is nothing to do. On failure GetLastError tells why.
    [[nodiscard]] bool Wow64DisableWow64FsRedirection(void** oldValue) const;
    [[nodiscard]] bool Wow64RevertWow64FsRedirection(void* oldValue) const;

    [[nodiscard]] bool Is64BitSystem() const;

private:
    enum class State
    {
        No = 0,
        Yes = 1,
        Unknown = 2
    };
    using IsWow64ProcessCall = BOOL(WINAPI*)(HANDLE, PBOOL);
    using DisableRedirectionCall = BOOL(WINAPI*)(void**);
    using RevertRedirectionCall = BOOL(WINAPI*)(void*);
    using GetNativeSystemInfoCall = void(WINAPI*)(SYSTEM_INFO*);

    CWow64() = default;
    ~CWow64() = default;
    bool Init();

    State state = State::Unknown;
    HMODULE kernel = nullptr;
    IsWow64ProcessCall isWow64Process = nullptr;
    DisableRedirectionCall disableRedirection = nullptr;
    RevertRedirectionCall revertRedirection = nullptr;
    GetNativeSystemInfoCall getNativeSystemInfo = nullptr;
};

} // namespace prodsweep
