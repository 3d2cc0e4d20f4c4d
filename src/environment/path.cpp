#include "environment/path.h"

#include "environment/log.h"

#include <windows.h>

#include <shlwapi.h>

#include <algorithm>
#include <cwchar>
#include <vector>

// The header of the module that this code is linked into; the linker provides it.
extern "C" IMAGE_DOS_HEADER __ImageBase;

namespace prodsweep {

bool CPath::GetCurrentPath(std::wstring& folder)
{
    wchar_t buffer[MAX_PATH] = {};
    if (GetModuleFileNameW(reinterpret_cast<HMODULE>(&__ImageBase), buffer, MAX_PATH) == 0)
    {
        const DWORD error = GetLastError();
        LOG(LogError, L"GetModuleFileName failed 0x%x", error);
        return false;
    }
    // A path that fills the buffer may come without a terminator.
    buffer[MAX_PATH - 1] = L'\0';
    const std::wstring path = buffer;
    const std::size_t separator = path.rfind(L'\\');
    if (separator == std::wstring::npos)
    {
        LOG(LogError, L"path \"%s\" ???", path.c_str());
        return false;
    }
    folder = path.substr(0, separator + 1);
    return true;
}

std::wstring& CPath::Canonicalise(std::wstring& path)
{
    // The call takes no size: it counts on room for MAX_PATH characters. Not every system refuses a text
    // that needs more (Wine writes on), so there is room for all of it, and the limit is kept here.
    std::vector<wchar_t> canonical(std::max<std::size_t>(MAX_PATH, path.size() + 4));
    if (PathCanonicalizeW(canonical.data(), path.c_str()) && std::wcslen(canonical.data()) < MAX_PATH)
        path = canonical.data();
    return path;
}

} // namespace prodsweep
