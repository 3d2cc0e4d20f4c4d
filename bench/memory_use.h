#pragma once

namespace prodsweep::bench {

// Counts what this program allocates by new while an object lives; one at a time. The process's own
// figures would not tell: memory that was freed before is used again, and so hides what is taken.
class MemoryUse
{
public:
    MemoryUse();
    ~MemoryUse();
    MemoryUse(const MemoryUse&) = delete;
    MemoryUse& operator=(const MemoryUse&) = delete;

    // Bytes, since the object was made: those that are held now, and the most that were held at once.
    [[nodiscard]] static double Held();
    [[nodiscard]] static double Peak();
};

} // namespace prodsweep::bench
