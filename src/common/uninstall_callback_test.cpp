#include "common/uninstall_callback.h"

#include "support/callback_recorder.h"

#include <gtest/gtest.h>

#include <new>
#include <stdexcept>

namespace prodsweep {
namespace {

using test::CallbackRecorder;
using test::RecordedCalls;

TEST(NotifyCallbackTest, CallbackHearsEventCodeAndValue)
{
    const CallbackRecorder recorder;

    NotifyCallback(&CallbackRecorder::Record, PRODSWEEP_EVENT_PRODUCT, 0, L"name");
    NotifyCallback(&CallbackRecorder::Record, PRODSWEEP_EVENT_FILES, 2);

    EXPECT_EQ((RecordedCalls{{13, 0, true, L"name"}, {2, 2, false, L""}}), recorder.Calls());
}

TEST(NotifyCallbackTest, NullCallbackHearsNothing) { NotifyCallback(nullptr, PRODSWEEP_EVENT_START, 0); }

struct ThrowRow
{
    const char* name;
    UninstallCallback callback;
};

class ThrowingCallbackTest : public testing::TestWithParam<ThrowRow>
{};

TEST_P(ThrowingCallbackTest, IsTakenForOneThatReturned)
{
    EXPECT_NO_THROW(NotifyCallback(GetParam().callback, PRODSWEEP_EVENT_FILES, 0));
    EXPECT_EQ(nullptr, std::current_exception());
    EXPECT_EQ(0, std::uncaught_exceptions());
}

INSTANTIATE_TEST_SUITE_P(
    Thrown, ThrowingCallbackTest,
    testing::Values(ThrowRow{"Exception", [](int32_t, int32_t, const void*) { throw std::runtime_error("thrown"); }},
                    ThrowRow{"ShortageOfMemory", [](int32_t, int32_t, const void*) { throw std::bad_alloc(); }},
                    ThrowRow{"Number", [](int32_t, int32_t, const void*) { throw 7; }}),
    [](const auto& row) { return row.param.name; });

} // namespace
} // namespace prodsweep
