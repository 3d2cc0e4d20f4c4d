#include "system/memory_use.h"

#include <windows.h>

#include <psapi.h>

#include <vector>

namespace prodsweep::test {
namespace {

long long BusyBytes(HANDLE heap)
{
    long long sum = 0;
    PROCESS_HEAP_ENTRY entry{};
    HeapLock(heap);
    while (HeapWalk(heap, &entry))
    {
        if ((entry.wFlags & PROCESS_HEAP_ENTRY_BUSY) != 0)
            sum += entry.cbData;
    }
    HeapUnlock(heap);
    return sum;
}

} // namespace

long long MemoryUse::HeapBytesNow()
{
    std::vector<HANDLE> handles(256);
    handles.resize(GetProcessHeaps(static_cast<DWORD>(handles.size()), handles.data()));
    long long sum = 0;
    for (const HANDLE heap : handles)
        sum += BusyBytes(heap);
    return sum;
}

long long MemoryUse::PrivateBytesNow()
{
    PROCESS_MEMORY_COUNTERS_EX counters{};
    counters.cb = sizeof(counters);
    GetProcessMemoryInfo(GetCurrentProcess(), reinterpret_cast<PROCESS_MEMORY_COUNTERS*>(&counters), counters.cb);
    return static_cast<long long>(counters.PrivateUsage);
}

} // namespace prodsweep::test
