#include "support/host_files.h"

#include "support/temp_tree.h"

#include <gtest/gtest.h>
#include <windows.h>

#include <functional>

// Wine keeps links and drives on the side of its host, where they can only be made by a program of the
// host. Such a program can be started, but not waited for; what it does is waited for instead.
namespace prodsweep::test {
namespace {

using UnixName = char*(CDECL*)(const wchar_t*);

UnixName UnixNameCall()
{
    return reinterpret_cast<UnixName>(
        reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(L"kernel32.dll"), "wine_get_unix_file_name")));
}

bool OnWine() { return UnixNameCall() != nullptr; }

std::wstring HostPath(const std::wstring& path)
{
    char* name = UnixNameCall()(path.c_str());
    EXPECT_NE(nullptr, name);
    const std::string narrow = name;
    HeapFree(GetProcessHeap(), 0, name);
    std::wstring wide(narrow.size(), L'\0');
    wide.resize(static_cast<std::size_t>(MultiByteToWideChar(CP_UTF8, 0, narrow.data(), static_cast<int>(narrow.size()),
                                                             wide.data(), static_cast<int>(wide.size()))));
    return wide;
}

// The name of the link itself, which need not be there yet.
std::wstring HostLink(const std::wstring& link)
{
    const std::size_t separator = link.rfind(L'\\');
    return HostPath(link.substr(0, separator)) + L"/" + link.substr(separator + 1);
}

void RunOnHost(const std::wstring& program, const std::wstring& arguments, const std::function<bool()>& done)
{
    std::wstring line = L"\\\\?\\unix\\bin\\" + program + L" " + arguments;
    STARTUPINFOW startup{};
    startup.cb = sizeof(startup);
    PROCESS_INFORMATION made{};
    ASSERT_TRUE(CreateProcessW(nullptr, line.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup, &made));
    if (made.hThread != nullptr)
        CloseHandle(made.hThread);
    if (made.hProcess != nullptr)
        CloseHandle(made.hProcess);
    for (int i = 0; i < 6000 && !done(); ++i)
        Sleep(10);
    EXPECT_TRUE(done());
}

std::wstring HostDevice(const std::wstring& device)
{
    const std::wstring root = HostPath(L"C:\\");
    const std::wstring folder = L"/dosdevices/";
    return root.substr(0, root.find(folder) + folder.size()) + static_cast<wchar_t>(device[0] - L'A' + L'a') + L":";
}

// Letters from the middle of the alphabet, the first one by chance, as other programs look for one too.
std::wstring FreeDevice()
{
    constexpr DWORD letters = 20;
    const DWORD taken = GetLogicalDrives();
    for (DWORD i = 0; i < letters; ++i)
    {
        const DWORD index = 4 + (GetCurrentProcessId() / 4 + i) % letters;
        if ((taken & (1U << index)) == 0)
            return {static_cast<wchar_t>(L'A' + index), L':'};
    }
    ADD_FAILURE() << "no drive letter is free";
    return L"?:";
}

} // namespace

FolderLink::FolderLink(const std::wstring& path, const std::wstring& folder) : link(path), target(folder)
{
    if (OnWine())
        RunOnHost(L"ln", L"-s -n " + HostPath(target) + L" " + HostLink(link), [&] { return Exists(link); });
    else
        EXPECT_TRUE(CreateSymbolicLinkW(link.c_str(), target.c_str(), SYMBOLIC_LINK_FLAG_DIRECTORY));
}

// On Wine the removal of a link takes the target and leaves the link. Only while it leads somewhere can
// be seen whether it is there, so the target is made again first.
FolderLink::~FolderLink()
{
    CreateDirectoryW(target.c_str(), nullptr);
    if (!Exists(link))
        return;
    if (OnWine())
        RunOnHost(L"rm", HostLink(link), [&] { return !Exists(link); });
    else
        RemoveDirectoryW(link.c_str());
}

void MakeManyFiles(const std::wstring& folder, int count)
{
    const std::wstring last = folder + L"\\" + std::to_wstring(count - 1);
    if (OnWine())
    {
        const std::wstring names = L"seq 0 " + std::to_wstring(count - 1);
        RunOnHost(L"sh", L"-c \"cd " + HostPath(folder) + L" && " + names + L" | xargs touch\"",
                  [&] { return Exists(last); });
        return;
    }
    for (int i = 0; i < count; ++i)
    {
        const std::wstring path = folder + L"\\" + std::to_wstring(i);
        CloseHandle(CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW, 0, nullptr));
    }
}

MappedDrive::MappedDrive(const std::wstring& mapped) : device(FreeDevice()), folder(mapped)
{
    if (OnWine())
        RunOnHost(L"ln", L"-s -n " + HostPath(folder) + L" " + HostDevice(device), [&] { return Exists(Root()); });
    else
        EXPECT_TRUE(DefineDosDeviceW(0, device.c_str(), folder.c_str()));
}

MappedDrive::~MappedDrive()
{
    CreateDirectoryW(folder.c_str(), nullptr);
    if (OnWine())
        RunOnHost(L"rm", HostDevice(device), [&] { return !Exists(Root()); });
    else
        DefineDosDeviceW(DDD_REMOVE_DEFINITION | DDD_EXACT_MATCH_ON_REMOVE, device.c_str(), folder.c_str());
}

} // namespace prodsweep::test
