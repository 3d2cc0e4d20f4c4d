#include "support/many_files.h"

#include "support/host_program.h"
#include "support/temp_tree.h"

#include <windows.h>

#include <algorithm>

namespace prodsweep::test {
namespace {

std::string Utf8(const std::wstring& wide)
{
    std::string narrow(wide.size() * 3, '\0');
    narrow.resize(static_cast<std::size_t>(WideCharToMultiByte(CP_UTF8, 0, wide.data(), static_cast<int>(wide.size()),
                                                               narrow.data(), static_cast<int>(narrow.size()), nullptr,
                                                               nullptr)));
    return narrow;
}

// Names are handed over in a list, a line each: a command line has no room for thousands.
bool WriteList(const std::wstring& path, const std::vector<std::wstring>& names)
{
    std::string lines;
    for (const std::wstring& name : names)
        lines += Utf8(name) + "\n";
    std::replace(lines.begin(), lines.end(), '\\', '/');
    const HANDLE file = CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr);
    if (file == INVALID_HANDLE_VALUE)
        return false;
    DWORD written = 0;
    WriteFile(file, lines.data(), static_cast<DWORD>(lines.size()), &written, nullptr);
    CloseHandle(file);
    return written == lines.size();
}

// The list goes when all is made.
bool MakeOnHost(const std::wstring& folder, const std::vector<std::wstring>& names)
{
    const std::wstring list = folder + L".list";
    if (!WriteList(list, names))
        return false;
    const std::wstring hostList = L"'" + HostPath(list) + L"'";
    const std::wstring makeFolders = L"sed -n 's:/[^/]*$::p' " + hostList + L" | uniq | xargs -r -d '\\n' mkdir -p";
    const std::wstring makeFiles = L"xargs -d '\\n' touch < " + hostList;
    return RunOnHost(L"sh",
                     L"-c \"cd '" + HostPath(folder) + L"' && " + makeFolders + L" && " + makeFiles + L"; rm " +
                         hostList + L"\"",
                     [&] { return !Exists(list); });
}

bool MakeHere(const std::wstring& folder, const std::vector<std::wstring>& names)
{
    for (const std::wstring& name : names)
    {
        const std::wstring path = (folder + L"\\").append(name);
        for (std::size_t end = path.find(L'\\', folder.size() + 1); end != std::wstring::npos;
             end = path.find(L'\\', end + 1))
            CreateDirectoryW(path.substr(0, end).c_str(), nullptr);
        const HANDLE file = CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr);
        if (file == INVALID_HANDLE_VALUE)
            return false;
        CloseHandle(file);
    }
    return true;
}

} // namespace

bool MakeManyFiles(const std::wstring& folder, const std::vector<std::wstring>& names)
{
    if (names.empty())
        return true;
    return (OnWine() ? MakeOnHost(folder, names) : MakeHere(folder, names)) && Exists(folder + L"\\" + names.back());
}

} // namespace prodsweep::test
