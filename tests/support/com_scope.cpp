#include "support/com_scope.h"

#include <gtest/gtest.h>

#include <optional>
#include <thread>

namespace prodsweep::test {

ComScope::ComScope(DWORD model) noexcept : result(CoInitializeEx(nullptr, model)) {}

ComScope::~ComScope()
{
    if (SUCCEEDED(result))
        CoUninitialize();
}

ComState CurrentComState() noexcept
{
    APTTYPE type = APTTYPE_CURRENT;
    APTTYPEQUALIFIER qualifier = APTTYPEQUALIFIER_NONE;
    if (FAILED(CoGetApartmentType(&type, &qualifier)) || qualifier == APTTYPEQUALIFIER_IMPLICIT_MTA)
        return ComState::None;
    return type == APTTYPE_MTA ? ComState::MultiThreaded : ComState::SingleThreaded;
}

void OnFreshThread(ComState state, const std::function<void()>& body)
{
    ComState left = ComState::None;
    std::thread([&] {
        std::optional<ComScope> com;
        if (state != ComState::None)
            com.emplace(state == ComState::MultiThreaded ? COINIT_MULTITHREADED : COINIT_APARTMENTTHREADED);
        body();
        left = CurrentComState();
    }).join();
    // Not on the thread itself: GoogleTest has another thread wait for the end of one that told of a failure, whose
    // handle would be closed in the middle of the next test.
    EXPECT_EQ(state, left) << "COM is not left as it was";
}

} // namespace prodsweep::test
