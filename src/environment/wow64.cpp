#include "environment/wow64.h"

#include "common/spin_guard.h"
#include "environment/log.h"

#include <atomic>
#include <cstdlib>

namespace prodsweep {
namespace {

// Guards the making and deleting of the object, not the calls on it.
constinit std::atomic<int> accessorLock{0};
constinit CWow64* instance = nullptr;

template <class Function>
Function Bind(HMODULE module, const char* name)
{
    return reinterpret_cast<Function>(reinterpret_cast<void*>(GetProcAddress(module, name)));
}

} // namespace

CWow64& CWow64::Instance()
{
    const SpinGuard guard(accessorLock);
    if (instance == nullptr)
    {
        instance = new CWow64;
        // Without its entry points the object answers "no" to everything, which is what is wanted then.
        instance->Init();
        std::atexit(&CWow64::Cleanup);
    }
    return *instance;
}

void CWow64::Cleanup() noexcept
{
    const SpinGuard guard(accessorLock);
    delete instance;
    instance = nullptr;
}

bool CWow64::Init()
{
    if (kernel == nullptr)
        kernel = LoadLibraryW(L"Kernel32.dll");
    if (kernel == nullptr)
        return false;
    isWow64Process = Bind<IsWow64ProcessCall>(kernel, "IsWow64Process");
    // Deliberate: in a 64-bit process the other calls stay unbound, so that every redirection bracket
    // is a no-op that reports success.
    if (IsWow64Process())
    {
        disableRedirection = Bind<DisableRedirectionCall>(kernel, "Wow64DisableWow64FsRedirection");
        revertRedirection = Bind<RevertRedirectionCall>(kernel, "Wow64RevertWow64FsRedirection");
        getNativeSystemInfo = Bind<GetNativeSystemInfoCall>(kernel, "GetNativeSystemInfo");
    }
    return true;
}

bool CWow64::IsWow64Process()
{
    if (state != State::Unknown)
        return state == State::Yes;
    state = State::No;
    if (isWow64Process == nullptr)
        return false;
    BOOL answer = FALSE;
    if (!isWow64Process(GetCurrentProcess(), &answer))
    {
        const DWORD error = GetLastError();
        LOG(LogWarning, L"IsWow64Process failed error 0x%x", error);
        return false;
    }
    if (answer)
        state = State::Yes;
    return state == State::Yes;
}

bool CWow64::Wow64DisableWow64FsRedirection(void** oldValue) const
{
    return disableRedirection == nullptr || disableRedirection(oldValue);
}

bool CWow64::Wow64RevertWow64FsRedirection(void* oldValue) const
{
    return revertRedirection == nullptr || revertRedirection(oldValue);
}

bool CWow64::Is64BitSystem() const
{
    SYSTEM_INFO info{};
    if (getNativeSystemInfo != nullptr)
        getNativeSystemInfo(&info);
    else
        GetSystemInfo(&info);
    return info.wProcessorArchitecture == PROCESSOR_ARCHITECTURE_IA64 ||
           info.wProcessorArchitecture == PROCESSOR_ARCHITECTURE_AMD64;
}

} // namespace prodsweep
