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
    std::thread([&] {
        std::optional<ComScope> com;
        if (state != ComState::None)
            com.emplace(state == ComState::MultiThreaded ? COINIT_MULTITHREADED : COINIT_APARTMENTTHREADED);
        body();
        EXPECT_EQ(state, CurrentComState()) << "COM is not left as it was";
    }).join();
}

} // namespace prodsweep::test
