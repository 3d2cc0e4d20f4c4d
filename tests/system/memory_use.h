#pragma once

#include <windows.h>

namespace prodsweep::test {

// The memory of this process, as it was when the object was made.
class MemoryUse
{
public:
    MemoryUse() : heaps(HeapBytesNow()), process(PrivateBytesNow()) {}

    // In bytes. The first sums up the blocks in use of all heaps, so that even a small loss shows. The
    // second is what the system has given to the process, in heaps or elsewhere; it moves in larger steps.
    [[nodiscard]] long long HeapGrowth() const { return HeapBytesNow() - heaps; }
    [[nodiscard]] long long PrivateGrowth() const { return PrivateBytesNow() - process; }

private:
    [[nodiscard]] static long long HeapBytesNow();
    [[nodiscard]] static long long PrivateBytesNow();

    long long heaps;
    long long process;
};

} // namespace prodsweep::test
