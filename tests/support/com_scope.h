#pragma once

#include <windows.h>

#include <objbase.h>

#include <functional>

namespace prodsweep::test {

// COM for the thread, for as long as it lives.
class ComScope
{
public:
    explicit ComScope(DWORD model = COINIT_APARTMENTTHREADED) noexcept;
    ~ComScope();
    ComScope(const ComScope&) = delete;
    ComScope& operator=(const ComScope&) = delete;

    // S_OK for the first on its thread, S_FALSE for one within another, RPC_E_CHANGED_MODE for one
    // within another of the other model.
    [[nodiscard]] HRESULT Result() const noexcept { return result; }

private:
    HRESULT result;
};

enum class ComState
{
    None, // COM is not initialised
    SingleThreaded,
    MultiThreaded
};

// How the calling thread stands to COM. A thread that never asked for COM counts as None, also when
// another thread's multi-threaded apartment would serve it.
[[nodiscard]] ComState CurrentComState() noexcept;

// Runs body to its end on a thread of its own, on which COM stands as wanted.
void OnFreshThread(ComState state, const std::function<void()>& body);

} // namespace prodsweep::test
