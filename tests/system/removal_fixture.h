#pragma once

#include "environment/log.h"
#include "support/callback_recorder.h"
#include "support/log_recorder.h"
#include "system/library.h"
#include "system/removable_products.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace prodsweep::test {

constexpr int Own = PRODSWEEP_KIND_OWN;
constexpr int Other = PRODSWEEP_KIND_OTHER;

// A fresh DLL with products that it can remove.
struct RemovalTest : testing::Test
{
    // The products whose removal began, in order: "A;B;".
    [[nodiscard]] static std::wstring Removed()
    {
        std::wstring names;
        for (const CallbackRecorder::Call& call : CallbackRecorder::Calls())
            names += call.event == PRODSWEEP_EVENT_PRODUCT ? call.text + L";" : L"";
        return names;
    }
    // What one function logged, in order, each line with its level: "10 <- true".
    [[nodiscard]] std::vector<std::wstring> Lines(const std::string& function) const
    {
        std::vector<std::wstring> lines;
        for (const LogRecord& record : log.Records())
        {
            if (record.function == function)
                lines.push_back((record.level == LogError ? L"4 " : L"10 ") + record.text);
        }
        return lines;
    }

    Library library;
    RemovableProducts products{library};
    bool restart = true;
    const CallbackRecorder callback;
    LogRecorder log;
};

} // namespace prodsweep::test
