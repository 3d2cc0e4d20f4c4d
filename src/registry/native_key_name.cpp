#include "registry/native_key_name.h"

#include <cstring>

namespace prodsweep {
namespace {

using NtQueryKeyCall = LONG(NTAPI*)(HANDLE, int, void*, ULONG, ULONG*);

NtQueryKeyCall BindNtQueryKey()
{
    const HMODULE module = GetModuleHandleW(L"ntdll.dll");
    const FARPROC entry = module != nullptr ? GetProcAddress(module, "NtQueryKey") : nullptr;
    return reinterpret_cast<NtQueryKeyCall>(reinterpret_cast<void*>(entry));
}

} // namespace

std::wstring NativeKeyName(HKEY key)
{
    static const NtQueryKeyCall query = BindNtQueryKey();
    constexpr int keyNameInformation = 3;
    constexpr std::size_t usualSize = 256;
    if (query == nullptr)
        return {};
    // Its length in bytes comes first, then the name.
    std::wstring answer(usualSize, L'\0');
    ULONG needed = 0;
    LONG status = query(key, keyNameInformation, answer.data(), usualSize * sizeof(wchar_t), &needed);
    if (status < 0 && needed > usualSize * sizeof(wchar_t))
    {
        answer.resize(needed / sizeof(wchar_t) + 1);
        status = query(key, keyNameInformation, answer.data(), needed, &needed);
    }
    if (status < 0)
        return {};
    ULONG length = 0;
    std::memcpy(&length, answer.data(), sizeof(length));
    return answer.substr(sizeof(length) / sizeof(wchar_t), length / sizeof(wchar_t));
}

} // namespace prodsweep
