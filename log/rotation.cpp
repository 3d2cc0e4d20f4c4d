#include "rotation.h"

#include <windows.h>

#include "unique_handle.h"

namespace prodsweep::logger {

namespace {

std::wstring Kept(const std::wstring& file, int number) { return file + L'.' + std::to_wstring(number); }

bool Exists(const std::wstring& path) { return GetFileAttributesW(path.c_str()) != INVALID_FILE_ATTRIBUTES; }

bool Empty(const std::wstring& file)
{
    return OwnFile(CreateFileW(file.c_str(), GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                               nullptr, TRUNCATE_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr)) != nullptr;
}

} // namespace

bool PutAside(const std::wstring& file, int depth)
{
    if (depth <= 0)
        return Empty(file);
    // Only as far as the first number that is free. So, when the file itself can't be moved, the next attempt finds the
    // gap that this one made, and those that are kept don't fall off the end one by one.
    int free = 1;
    while (free < depth && Exists(Kept(file, free)))
        ++free;
    for (int number = free; number > 1; --number)
        MoveFileExW(Kept(file, number - 1).c_str(), Kept(file, number).c_str(), MOVEFILE_REPLACE_EXISTING);
    return MoveFileExW(file.c_str(), Kept(file, 1).c_str(), MOVEFILE_REPLACE_EXISTING) != FALSE;
}

} // namespace prodsweep::logger
