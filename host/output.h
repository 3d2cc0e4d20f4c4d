// Standard output or standard error, in UTF-8, whatever stands behind it.
#pragma once

#include <cstddef>
#include <string_view>

#include <windows.h>

namespace prodsweep {

class COutput
{
public:
    // which: STD_OUTPUT_HANDLE or STD_ERROR_HANDLE.
    explicit COutput(DWORD which);

    // To a console as UTF-16, so that its code page does not matter; to a file or a pipe as the
    // bytes stand, line ends included. False when not all of it could be written (disk full, reader
    // gone). A process without this stream, as a service has it, writes nothing and is content.
    [[nodiscard]] bool Write(std::string_view utf8) const;

    bool IsConsole() const noexcept { return isConsole; }
    // Of a console, as wide as it is now.
    std::size_t Columns() const;

private:
    HANDLE stream;
    bool isConsole;
};

} // namespace prodsweep
