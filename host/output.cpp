#include "output.h"

#include <algorithm>
#include <string>

#include "text.h"

namespace prodsweep {

namespace {

// Older consoles refuse a write of more than 64 KiB at once.
constexpr std::size_t consoleChunk = 8192;
constexpr std::size_t fileChunk = std::size_t{1} << 20;

bool IsConsoleHandle(HANDLE stream)
{
    DWORD mode = 0;
    return GetConsoleMode(stream, &mode) != FALSE;
}

bool WriteToConsole(HANDLE stream, std::wstring_view text)
{
    while (!text.empty())
    {
        const auto length = static_cast<DWORD>(std::min(text.size(), consoleChunk));
        DWORD written = 0;
        if (!WriteConsoleW(stream, text.data(), length, &written, nullptr) || written == 0)
            return false;
        text.remove_prefix(written);
    }
    return true;
}

bool WriteToFile(HANDLE stream, std::string_view bytes)
{
    while (!bytes.empty())
    {
        const auto length = static_cast<DWORD>(std::min(bytes.size(), fileChunk));
        DWORD written = 0;
        if (!WriteFile(stream, bytes.data(), length, &written, nullptr) || written == 0)
            return false;
        bytes.remove_prefix(written);
    }
    return true;
}

} // namespace

COutput::COutput(DWORD which) : stream(GetStdHandle(which)), isConsole(IsConsoleHandle(stream)) {}

bool COutput::Write(std::string_view utf8) const
{
    if (stream == nullptr || stream == INVALID_HANDLE_VALUE)
        return true;
    return isConsole ? WriteToConsole(stream, ToWide(utf8)) : WriteToFile(stream, utf8);
}

std::size_t COutput::Columns() const
{
    constexpr std::size_t usual = 80;
    CONSOLE_SCREEN_BUFFER_INFO info{};
    return GetConsoleScreenBufferInfo(stream, &info) && info.dwSize.X > 0 ? static_cast<std::size_t>(info.dwSize.X)
                                                                          : usual;
}

} // namespace prodsweep
