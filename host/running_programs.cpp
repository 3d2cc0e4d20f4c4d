#include "running_programs.h"

#include <tlhelp32.h>

#include "common/unique_handle.h"
#include "path_answer.h"

namespace prodsweep {

std::vector<DWORD> ProcessesNamed(const std::wstring& program)
{
    const UniqueHandle snapshot = OwnHandle(CreateToolhelp32Snapshot(TH32CS_SNAPPROCESS, 0));
    PROCESSENTRY32W entry{};
    entry.dwSize = sizeof(entry);
    std::vector<DWORD> processes;
    for (BOOL more = snapshot != nullptr && Process32FirstW(snapshot.get(), &entry); more;
         more = Process32NextW(snapshot.get(), &entry))
    {
        if (_wcsicmp(entry.szExeFile, program.c_str()) == 0)
            processes.push_back(entry.th32ProcessID);
    }
    return processes;
}

std::wstring ImageOf(DWORD process)
{
    const UniqueHandle opened = OwnHandle(OpenProcess(PROCESS_QUERY_LIMITED_INFORMATION, FALSE, process));
    std::wstring path(longestPath, L'\0');
    auto length = static_cast<DWORD>(path.size());
    if (opened == nullptr || !QueryFullProcessImageNameW(opened.get(), 0, path.data(), &length))
        return {};
    path.resize(length);
    return path;
}

} // namespace prodsweep
