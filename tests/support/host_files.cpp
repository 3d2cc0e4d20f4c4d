#include "support/host_files.h"

#include "support/host_program.h"
#include "support/temp_tree.h"

#include <gtest/gtest.h>
#include <windows.h>

#include <utility>

namespace prodsweep::test {
namespace {

// The name of the link itself, which need not be there yet.
std::wstring HostLink(const std::wstring& link)
{
    const std::size_t separator = link.rfind(L'\\');
    return HostPath(link.substr(0, separator)) + L"/" + link.substr(separator + 1);
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

FolderLink::FolderLink(std::wstring path, std::wstring folder) : link(std::move(path)), target(std::move(folder))
{
    if (OnWine())
        EXPECT_TRUE(
            RunOnHost(L"ln", L"-s -n " + HostPath(target) + L" " + HostLink(link), [&] { return Exists(link); }));
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
        EXPECT_TRUE(RunOnHost(L"rm", HostLink(link), [&] { return !Exists(link); }));
    else
        RemoveDirectoryW(link.c_str());
}

MappedDrive::MappedDrive(std::wstring mapped) : device(FreeDevice()), folder(std::move(mapped))
{
    if (OnWine())
        EXPECT_TRUE(
            RunOnHost(L"ln", L"-s -n " + HostPath(folder) + L" " + HostDevice(device), [&] { return Exists(Root()); }));
    else
        EXPECT_TRUE(DefineDosDeviceW(0, device.c_str(), folder.c_str()));
}

MappedDrive::~MappedDrive()
{
    CreateDirectoryW(folder.c_str(), nullptr);
    if (OnWine())
        EXPECT_TRUE(RunOnHost(L"rm", HostDevice(device), [&] { return !Exists(Root()); }));
    else
        DefineDosDeviceW(DDD_REMOVE_DEFINITION | DDD_EXACT_MATCH_ON_REMOVE, device.c_str(), folder.c_str());
}

} // namespace prodsweep::test
