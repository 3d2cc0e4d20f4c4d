#include "support/handle_count.h"

#include <windows.h>

namespace prodsweep::test {
namespace {

// A system fills its table of handles from the start and uses again what was closed: behind so many that are not in
// use none follows.
constexpr ULONG_PTR lastGap = 128;
constexpr ULONG_PTR step = 4; // from one handle to the next

} // namespace

// One by one. GetProcessHandleCount is a stub on Wine, and always says the same. The list of all handles of all
// processes ends Wine's server, and with it whatever runs, when another process is just coming up.
int HandleCount::Now()
{
    int count = 0;
    for (ULONG_PTR value = step, used = 0; value <= used + lastGap * step; value += step)
    {
        DWORD flags = 0;
        if (GetHandleInformation(reinterpret_cast<HANDLE>(value), &flags) == FALSE)
            continue;
        used = value;
        ++count;
    }
    return count;
}

testing::AssertionResult HandleCount::Unchanged() const
{
    const int growth = Growth();
    return growth == 0 ? testing::AssertionSuccess() << "the handle count is unchanged"
                       : testing::AssertionFailure() << growth << " handles more than before";
}

} // namespace prodsweep::test
