#include "bench/memory_use.h"

#include <malloc.h>

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <new>

namespace prodsweep::bench {
namespace {

bool counting = false;
std::ptrdiff_t held = 0;
std::ptrdiff_t peak = 0;

void Add(std::ptrdiff_t bytes)
{
    held += bytes;
    peak = std::max(peak, held);
}

} // namespace

MemoryUse::MemoryUse()
{
    counting = true;
    held = 0;
    peak = 0;
}

MemoryUse::~MemoryUse() { counting = false; }

double MemoryUse::Held() { return static_cast<double>(held); }

double MemoryUse::Peak() { return static_cast<double>(peak); }

} // namespace prodsweep::bench

void* operator new(std::size_t size)
{
    void* const made = std::malloc(std::max<std::size_t>(size, 1));
    if (made == nullptr)
        throw std::bad_alloc();
    if (prodsweep::bench::counting)
        prodsweep::bench::Add(static_cast<std::ptrdiff_t>(_msize(made)));
    return made;
}

void operator delete(void* memory) noexcept
{
    if (prodsweep::bench::counting && memory != nullptr)
        prodsweep::bench::Add(-static_cast<std::ptrdiff_t>(_msize(memory)));
    std::free(memory);
}

void operator delete(void* memory, std::size_t) noexcept { operator delete(memory); }
