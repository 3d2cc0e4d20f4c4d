#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace prodsweep::test {

struct LogRecord
{
    int level;
    std::string function;
    std::wstring text;
};

// What was logged since it was made. Expects the recording log.dll beside the test.
class LogRecorder
{
public:
    LogRecorder();

    void Clear();
    // Stops recording until the next Clear; for tests that log by the million.
    void Pause();

    [[nodiscard]] std::vector<LogRecord> Records() const;
    // How many modules of this process are bound to the log, with the test program itself.
    [[nodiscard]] int Bindings() const;
    // Where the first line of this text stands among the records; behind all of them if it was not written.
    [[nodiscard]] std::size_t PlaceOf(const std::wstring& text) const;
    [[nodiscard]] int Count(int level, const std::string& function, const std::wstring& text) const;

    // Was this very line written? The answer shows what was written instead.
    [[nodiscard]] testing::AssertionResult Has(int level, const std::string& function, const std::wstring& text) const;
    // Was nothing written at this level?
    [[nodiscard]] testing::AssertionResult HasNoneAt(int level) const;
};

// For messages: UTF-8, whatever the text holds.
[[nodiscard]] std::string Narrow(const std::wstring& text);

} // namespace prodsweep::test
