#pragma once

#include <prodsweep/prodsweep.h>

#include <string>
#include <utility>
#include <vector>

namespace prodsweep::test {

// A text of an array; null shows as "(null)".
[[nodiscard]] std::wstring Text(BSTR text);

// What a caller's view of any of the arrays must be: one dimension from 0, no feature flags, unlocked.
// Fails the test otherwise. Gives the number of elements; 0 for a null array.
ULONG CheckedCount(const SAFEARRAY* array, ULONG elementSize);

// The texts of an array of BSTR.
[[nodiscard]] std::vector<std::wstring> Texts(const SAFEARRAY* array);

// Receives the array of a listing export and frees it with everything in it.
class ProductArray
{
public:
    ProductArray() = default;
    ~ProductArray() { ProdsweepFreeProducts(array); }
    ProductArray(const ProductArray&) = delete;
    ProductArray& operator=(const ProductArray&) = delete;

    // Where the export writes. Any array held before is freed.
    [[nodiscard]] SAFEARRAY** Receive();
    [[nodiscard]] SAFEARRAY* Get() const { return array; }
    // Gives it away; the caller frees it.
    [[nodiscard]] SAFEARRAY* Release();

    [[nodiscard]] ULONG Count() const { return CheckedCount(array, sizeof(ProductEntry)); }
    [[nodiscard]] const ProductEntry& operator[](ULONG index) const;
    [[nodiscard]] std::vector<std::wstring> Names() const;

private:
    SAFEARRAY* array = nullptr;
};

// A GuidEntry as values: the child values by name, in the order of the array.
struct Guid
{
    std::wstring text;
    std::vector<std::pair<std::wstring, std::vector<std::wstring>>> children;

    bool operator==(const Guid&) const = default;
};
[[nodiscard]] std::vector<Guid> Guids(const SAFEARRAY* array);

} // namespace prodsweep::test
