#include "file_mutex.h"

#include <cstdint>
#include <cwchar>

#include <sddl.h>

#include "debug_note.h"
#include "paths.h"

namespace prodsweep::logger {

namespace {

struct LocalMemoryFree
{
    void operator()(void* memory) const noexcept { LocalFree(memory); }
};

// FNV-1a: a name has no room for a path, and may not hold its backslashes.
std::uint64_t HashOf(const std::wstring& text)
{
    std::uint64_t hash = 0xcbf29ce484222325;
    for (const wchar_t unit : text)
        hash = (hash ^ unit) * 0x100000001b3;
    return hash;
}

std::wstring NameFor(const std::wstring& path)
{
    wchar_t name[64] = {};
    _snwprintf(name, 63, L"Global\\prodsweep-log-%016I64x", HashOf(Canonical(path)));
    return name;
}

} // namespace

void CFileMutex::GoFor(const std::wstring& file)
{
    path = file;
    mutex.reset();
    isMade = false;
    isPatient = true;
}

void CFileMutex::Make()
{
    // Everyone may wait for it and release it, at any level of trust: an installer with an administrator's rights and
    // the user's own program write to one file.
    constexpr wchar_t rights[] = L"D:(A;;0x00100001;;;WD)(A;;0x00100001;;;AC)S:(ML;;NW;;;LW)";
    void* descriptor = nullptr;
    ConvertStringSecurityDescriptorToSecurityDescriptorW(rights, SDDL_REVISION_1, &descriptor, nullptr);
    const std::unique_ptr<void, LocalMemoryFree> owner(descriptor);
    SECURITY_ATTRIBUTES attributes{sizeof attributes, descriptor, FALSE};
    mutex.reset(CreateMutexExW(descriptor != nullptr ? &attributes : nullptr, NameFor(path).c_str(), 0,
                               SYNCHRONIZE | MUTEX_MODIFY_STATE));
    if (mutex == nullptr)
        Note(L"no mutex for " + path, GetLastError());
}

bool CFileMutex::Acquire()
{
    if (!isMade)
        Make();
    isMade = true;
    if (mutex == nullptr)
        return false;
    constexpr DWORD patience = 1000;
    const DWORD answer = WaitForSingleObject(mutex.get(), isPatient ? patience : 0);
    // Abandoned: its owner was ended while it wrote. What it left is looked at where the file is opened.
    isPatient = answer == WAIT_OBJECT_0 || answer == WAIT_ABANDONED;
    return isPatient;
}

void CFileMutex::Release() noexcept { ReleaseMutex(mutex.get()); }

} // namespace prodsweep::logger
