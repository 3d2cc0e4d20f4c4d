#include "support/handle_count.h"

#include <windows.h>

#include <winternl.h>

#include <algorithm>
#include <vector>

namespace prodsweep::test {
namespace {

// What the system tells of all handles of all processes, as far as it is needed here.
struct SystemHandle
{
    void* object;
    ULONG_PTR process;
    ULONG_PTR handle;
    ULONG access;
    USHORT creatorBackTrace;
    USHORT type;
    ULONG attributes;
    ULONG reserved;
};
struct SystemHandles
{
    ULONG_PTR count;
    ULONG_PTR reserved;
    SystemHandle first[1];
};
constexpr int extendedHandleInformation = 64; // of SYSTEM_INFORMATION_CLASS; the headers don't name it
constexpr auto lengthMismatch = static_cast<NTSTATUS>(0xC0000004);

} // namespace

// Not by GetProcessHandleCount: it is a stub on Wine, and always says the same.
int HandleCount::Now()
{
    using Query = NTSTATUS(NTAPI*)(int, void*, ULONG, ULONG*);
    const auto query = reinterpret_cast<Query>(
        reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "NtQuerySystemInformation")));
    std::vector<ULONG_PTR> buffer(0x4000);
    NTSTATUS status = lengthMismatch;
    while (status == lengthMismatch && buffer.size() < 0x1000000)
    {
        buffer.resize(buffer.size() * 2);
        status = query(extendedHandleInformation, buffer.data(), static_cast<ULONG>(buffer.size() * sizeof(ULONG_PTR)),
                       nullptr);
    }
    EXPECT_EQ(0, status) << "the system's handles can't be counted";
    const auto* all = reinterpret_cast<const SystemHandles*>(buffer.data());
    const SystemHandle* const first = all->first;
    return static_cast<int>(std::count_if(
        first, first + all->count, [](const SystemHandle& handle) { return handle.process == GetCurrentProcessId(); }));
}

testing::AssertionResult HandleCount::Unchanged() const
{
    const int growth = Growth();
    return growth == 0 ? testing::AssertionSuccess() << "the handle count is unchanged"
                       : testing::AssertionFailure() << growth << " handles more than before";
}

} // namespace prodsweep::test
