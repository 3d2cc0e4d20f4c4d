#include "support/file_faults.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace prodsweep::test {

FileFaults* FileFaults::current = nullptr;

FileFaults::FileFaults()
    : findFirst(nullptr, "FindFirstFileW", FindFirst),
      setAttributes(nullptr, "SetFileAttributesW", SetAttributes),
      deleteOne(nullptr, "DeleteFileW", DeleteOne),
      removeFolder(nullptr, "RemoveDirectoryW", RemoveFolder)
{
    EXPECT_EQ(nullptr, current) << "one FileFaults at a time";
    current = this;
}

FileFaults::~FileFaults() { current = nullptr; }

int FileFaults::Count(const std::string& call, const std::wstring& path) const
{
    const auto found = counts.find({call, path});
    return found == counts.end() ? 0 : found->second;
}

std::ptrdiff_t FileFaults::Count(const std::string& call) const { return std::count(order.begin(), order.end(), call); }

bool FileFaults::Passes(const char* call, const wchar_t* path)
{
    ++counts[{call, path}];
    order.emplace_back(call);
    if (whenCalled)
        whenCalled(call);
    const auto fault = faults.find({call, path});
    if (fault == faults.end())
        return true;
    SetLastError(fault->second);
    return false;
}

HANDLE WINAPI FileFaults::FindFirst(const wchar_t* path, WIN32_FIND_DATAW* data)
{
    if (!current->Passes("FindFirstFileW", path))
        return INVALID_HANDLE_VALUE;
    if (--current->listingsLeft < 0)
    {
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
        return INVALID_HANDLE_VALUE;
    }
    return current->findFirst.Original<HANDLE WINAPI(const wchar_t*, WIN32_FIND_DATAW*)>()(path, data);
}

BOOL WINAPI FileFaults::SetAttributes(const wchar_t* path, DWORD attributes)
{
    return current->Passes("SetFileAttributesW", path) &&
           current->setAttributes.Original<BOOL WINAPI(const wchar_t*, DWORD)>()(path, attributes);
}

BOOL WINAPI FileFaults::DeleteOne(const wchar_t* path)
{
    return current->Passes("DeleteFileW", path) && current->deleteOne.Original<BOOL WINAPI(const wchar_t*)>()(path);
}

BOOL WINAPI FileFaults::RemoveFolder(const wchar_t* path)
{
    return current->Passes("RemoveDirectoryW", path) &&
           current->removeFolder.Original<BOOL WINAPI(const wchar_t*)>()(path);
}

} // namespace prodsweep::test
