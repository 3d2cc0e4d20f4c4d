#include "support/log_recorder.h"

#include "support/recording_log.h"

#include <windows.h>

#include <algorithm>
#include <sstream>

namespace prodsweep::test {
namespace {

template <class Function>
Function Recording(const char* name)
{
    const HMODULE module = GetModuleHandleW(L"log.dll");
    auto* const entry = reinterpret_cast<void*>(module != nullptr ? GetProcAddress(module, name) : nullptr);
    if (entry == nullptr)
        ADD_FAILURE() << "the recording log.dll is not loaded";
    return reinterpret_cast<Function>(entry);
}

std::string Line(int level, const std::string& function, const std::wstring& text)
{
    std::ostringstream line;
    line << "0x" << std::hex << level << " " << function << ": " << Narrow(text) << "\n";
    return line.str();
}

} // namespace

// Only an object may be asked: making it has taken away what was written before.
// NOLINTBEGIN(readability-convert-member-functions-to-static)
LogRecorder::LogRecorder() { Clear(); }

void LogRecorder::Clear()
{
    if (const auto clear = Recording<void (*)()>("RecordingClear"))
        clear();
}

void LogRecorder::Pause()
{
    if (const auto pause = Recording<void (*)()>("RecordingPause"))
        pause();
}

std::vector<LogRecord> LogRecorder::Records() const
{
    std::vector<LogRecord> records;
    const auto at = Recording<bool (*)(std::size_t, RecordedLine*)>("RecordingAt");
    RecordedLine line{};
    for (std::size_t i = 0; at != nullptr && at(i, &line); ++i)
    {
        const std::wstring wide = line.functionWide;
        EXPECT_EQ(std::string(line.function), Narrow(wide)) << "the two forms of the function's name differ";
        records.push_back({line.level, line.function, line.text});
    }
    return records;
}

int LogRecorder::Bindings() const
{
    const auto bindings = Recording<int (*)()>("RecordingBindings");
    return bindings != nullptr ? bindings() : 0;
}

// NOLINTEND(readability-convert-member-functions-to-static)

std::size_t LogRecorder::PlaceOf(const std::wstring& text) const
{
    const std::vector<LogRecord> records = Records();
    const auto found =
        std::find_if(records.begin(), records.end(), [&](const LogRecord& record) { return record.text == text; });
    return static_cast<std::size_t>(found - records.begin());
}

int LogRecorder::Count(int level, const std::string& function, const std::wstring& text) const
{
    const std::vector<LogRecord> records = Records();
    return static_cast<int>(std::count_if(records.begin(), records.end(), [&](const LogRecord& record) {
        return record.level == level && record.function == function && record.text == text;
    }));
}

testing::AssertionResult LogRecorder::Has(int level, const std::string& function, const std::wstring& text) const
{
    if (Count(level, function, text) > 0)
        return testing::AssertionSuccess() << "logged: " << Line(level, function, text);
    std::string written;
    for (const LogRecord& record : Records())
        written += "  " + Line(record.level, record.function, record.text);
    return testing::AssertionFailure() << "not logged: " << Line(level, function, text) << "but:\n" << written;
}

testing::AssertionResult LogRecorder::HasNoneAt(int level) const
{
    for (const LogRecord& record : Records())
    {
        if (record.level == level)
            return testing::AssertionFailure() << "logged: " << Line(record.level, record.function, record.text);
    }
    return testing::AssertionSuccess();
}

std::string Narrow(const std::wstring& text)
{
    const int length = static_cast<int>(text.size());
    const int size = WideCharToMultiByte(CP_UTF8, 0, text.data(), length, nullptr, 0, nullptr, nullptr);
    std::string narrow(static_cast<std::size_t>(size), '\0');
    WideCharToMultiByte(CP_UTF8, 0, text.data(), length, narrow.data(), size, nullptr, nullptr);
    return narrow;
}

} // namespace prodsweep::test
