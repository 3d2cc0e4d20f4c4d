// The "log.dll" of the tests: keeps each record in memory, and gives it back.
#include "support/recording_log.h"

#include <cstdarg>
#include <cwchar>
#include <mutex>
#include <string>
#include <vector>

namespace {

struct Record
{
    int level;
    std::string function;
    std::wstring functionWide;
    std::wstring text;
};

std::mutex guard;
std::vector<Record> records;
bool paused = false;
int bindings = 0;

} // namespace

extern "C"
{
    __declspec(dllexport) void LogInit()
    {
        const std::lock_guard lock(guard);
        ++bindings;
    }

    __declspec(dllexport) void LogDeinit()
    {
        const std::lock_guard lock(guard);
        --bindings;
    }

    __declspec(dllexport) int RecordingBindings()
    {
        const std::lock_guard lock(guard);
        return bindings;
    }

    __declspec(dllexport) int LogWrite(unsigned short, const int* level, const char* function,
                                       const wchar_t* functionWide, const wchar_t* format, va_list arguments)
    {
        const std::lock_guard lock(guard);
        if (paused)
            return 0;
        std::wstring text(70000, L'\0');
        const int length = _vsnwprintf(text.data(), text.size(), format, arguments);
        text.resize(length < 0 ? text.size() : static_cast<std::size_t>(length));
        records.push_back({*level, function, functionWide, text});
        return 0;
    }

    __declspec(dllexport) void RecordingClear()
    {
        const std::lock_guard lock(guard);
        records.clear();
        paused = false;
    }

    __declspec(dllexport) void RecordingPause()
    {
        const std::lock_guard lock(guard);
        paused = true;
    }

    __declspec(dllexport) bool RecordingAt(std::size_t index, RecordedLine* line)
    {
        const std::lock_guard lock(guard);
        if (index >= records.size())
            return false;
        const Record& record = records[index];
        *line = {record.level, record.function.c_str(), record.functionWide.c_str(), record.text.c_str()};
        return true;
    }
}
