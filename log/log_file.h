// The file that the lines go to. Other processes may write to it, put it aside or delete it at any time.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include <windows.h>

#include "file_mutex.h"
#include "settings.h"
#include "unique_handle.h"

namespace prodsweep::logger {

class CLogFile
{
public:
    // Closes the file if it is another one from now on.
    void Use(const Settings& settings);

    // A whole line with its end. onDisk: not to return before it is there, so that it survives the machine. 0, or the
    // Windows error by which the line was lost. The caller sees to it that one thread at a time is here.
    DWORD Append(std::string_view line, bool onDisk);

    void Close() noexcept { file.reset(); }

private:
    DWORD Open();
    [[nodiscard]] FILE_STANDARD_INFO State() const noexcept;
    [[nodiscard]] static bool IsDeleted(const FILE_STANDARD_INFO& state) noexcept;
    [[nodiscard]] bool IsFull(const FILE_STANDARD_INFO& state) const noexcept;
    [[nodiscard]] bool EndsInALine() const noexcept;
    DWORD MakeRoom();
    DWORD Write(std::string_view line);
    void Flush() noexcept;

    std::wstring path;
    std::uint64_t limit = 0; // bytes; 0: none
    int depth = 0;
    bool overwrite = false;
    bool isBegun = false; // it was opened once, so what is in it may be ours
    CFileMutex mutex;
    UniqueHandle file;
    bool endsInALine = true;
    ULONGLONG flushed = 0;
};

} // namespace prodsweep::logger
