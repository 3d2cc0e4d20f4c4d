#pragma once

#include <windows.h>

#include <string>

namespace prodsweep::test {

// A second process that has a file or folder open for as long as this lives. share: what it lets
// others do meanwhile (FILE_SHARE_READ, ...); by default nothing.
class LockedPath
{
public:
    explicit LockedPath(std::wstring locked, DWORD share = 0);
    ~LockedPath();
    LockedPath(const LockedPath&) = delete;
    LockedPath& operator=(const LockedPath&) = delete;

private:
    std::wstring path;
    HANDLE process = nullptr;
};

} // namespace prodsweep::test
