#pragma once

#include "support/import_patch.h"

#include <windows.h>

#include <cstddef>
#include <functional>
#include <limits>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace prodsweep::test {

// Stands between the test program and the calls FindFirstFileW, SetFileAttributesW, DeleteFileW and
// RemoveDirectoryW for as long as it lives: writes them down, lets chosen ones fail, and passes the
// others on to the system. One object at a time.
class FileFaults
{
public:
    FileFaults();
    ~FileFaults();
    FileFaults(const FileFaults&) = delete;
    FileFaults& operator=(const FileFaults&) = delete;

    // The call fails with error whenever it gets this very path.
    void Fail(const std::string& call, const std::wstring& path, DWORD error) { faults[{call, path}] = error; }

    // From so many calls on, FindFirstFileW fails always: what would go on without end ends.
    void AllowListings(int most) { listingsLeft = most; }

    // Called with the name of each call before it is made.
    std::function<void(const std::string& call)> whenCalled;

    // How often the call was made with this very path, failing or not.
    [[nodiscard]] int Count(const std::string& call, const std::wstring& path) const;
    // How often the call was made.
    [[nodiscard]] std::ptrdiff_t Count(const std::string& call) const;
    // The names of the calls, as they came.
    [[nodiscard]] const std::vector<std::string>& Order() const { return order; }

private:
    using Call = std::pair<std::string, std::wstring>;

    static HANDLE WINAPI FindFirst(const wchar_t* path, WIN32_FIND_DATAW* data);
    static BOOL WINAPI SetAttributes(const wchar_t* path, DWORD attributes);
    static BOOL WINAPI DeleteOne(const wchar_t* path);
    static BOOL WINAPI RemoveFolder(const wchar_t* path);
    bool Passes(const char* call, const wchar_t* path);

    static FileFaults* current;

    std::map<Call, DWORD> faults;
    std::map<Call, int> counts;
    std::vector<std::string> order;
    int listingsLeft = std::numeric_limits<int>::max();
    ImportPatch findFirst;
    ImportPatch setAttributes;
    ImportPatch deleteOne;
    ImportPatch removeFolder;
};

} // namespace prodsweep::test
