#include "system/memory_use.h"

#include <windows.h>

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

// Region by region: what the system itself says of a process's private bytes is always the same on Wine.
long long MemoryUse::PrivateBytesNow()
{
    long long sum = 0;
    MEMORY_BASIC_INFORMATION region{};
    for (const char* at = nullptr; VirtualQuery(at, &region, sizeof(region)) == sizeof(region);
         at = static_cast<const char*>(region.BaseAddress) + region.RegionSize)
    {
        if (region.State == MEM_COMMIT && region.Type == MEM_PRIVATE)
            sum += static_cast<long long>(region.RegionSize);
    }
    return sum;
}

} // namespace prodsweep::test
