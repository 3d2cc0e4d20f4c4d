#pragma once

#include "common/wide_string_list.h"

#include <prodsweep/prodsweep.h>

#include <span>
#include <string>

namespace prodsweep {

// The names that a caller's array selects, in its order. Entries of an unknown kind are dropped.
struct ProductSelection
{
    struct Names
    {
        WideStringList plain;  // only if installed
        WideStringList forced; // whatever is installed
        [[nodiscard]] bool Empty() const { return plain.empty() && forced.empty(); }
    };
    Names own;
    Names other;

    explicit ProductSelection(std::span<const ProductEntry> entries);
};

// The whole array as one text for the log: "HQ : Name force" "EXT : Name" ...
[[nodiscard]] std::wstring DescribeSelection(std::span<const ProductEntry> entries);

// The elements of a caller's array, locked while this lives.
class LockedProducts
{
public:
    explicit LockedProducts(SAFEARRAY* products) noexcept;
    ~LockedProducts();
    LockedProducts(const LockedProducts&) = delete;
    LockedProducts& operator=(const LockedProducts&) = delete;

    // Of the locking.
    [[nodiscard]] HRESULT Result() const noexcept { return result; }
    // One dimension from index 0, with elements of the right size, or none. Nothing else is safe to read.
    [[nodiscard]] bool HasProductEntries() const noexcept;
    [[nodiscard]] std::span<const ProductEntry> Entries() const noexcept;
    HRESULT Unlock() noexcept;

private:
    SAFEARRAY* array;
    void* data = nullptr;
    HRESULT result;
};

} // namespace prodsweep
