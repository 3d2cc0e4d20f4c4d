#include "system/heap_accounts.h"

#include <gtest/gtest.h>

namespace prodsweep::test {

HeapAccounts* HeapAccounts::current = nullptr;

HeapAccounts::HeapAccounts(HMODULE module) : allocate(module, "malloc", OnMalloc), release(module, "free", OnFree)
{
    EXPECT_EQ(nullptr, current) << "one HeapAccounts at a time";
    current = this;
}

HeapAccounts::~HeapAccounts() { current = nullptr; }

void HeapAccounts::FailAt(int allocation)
{
    failing = allocation;
    allocations = 0;
}

void* HeapAccounts::OnMalloc(std::size_t size)
{
    if (++current->allocations == current->failing)
        return nullptr;
    void* const block = current->allocate.Original<decltype(OnMalloc)>()(size);
    current->blocks.insert(block);
    return block;
}

void HeapAccounts::OnFree(void* block)
{
    current->blocks.erase(block);
    current->release.Original<decltype(OnFree)>()(block);
}

} // namespace prodsweep::test
