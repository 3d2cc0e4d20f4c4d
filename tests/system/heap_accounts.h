#pragma once

#include "support/import_patch.h"

#include <cstddef>
#include <cstdlib>
#include <set>

namespace prodsweep::test {

// Keeps account of what a module takes from the C runtime's heap, and lets a chosen allocation fail. One
// at a time, on one thread.
class HeapAccounts
{
public:
    explicit HeapAccounts(HMODULE module);
    ~HeapAccounts();
    HeapAccounts(const HeapAccounts&) = delete;
    HeapAccounts& operator=(const HeapAccounts&) = delete;

    // Starts the count afresh and lets one allocation fail; the first is 1, and 0 lets none fail.
    void FailAt(int allocation);
    [[nodiscard]] int Allocations() const { return allocations; }
    // Blocks that were taken since this object was made, and not given back.
    [[nodiscard]] std::size_t LiveBlocks() const { return blocks.size(); }

private:
    static void* OnMalloc(std::size_t size);
    static void OnFree(void* block);

    static HeapAccounts* current;

    int failing = 0;
    int allocations = 0;
    std::set<void*> blocks;
    ImportPatch allocate;
    ImportPatch release;
};

} // namespace prodsweep::test
