#include "api/product_selection.h"

#include "catalogue/product.h"

namespace prodsweep {
namespace {

// A null BSTR is OLE's other way to say that a text is empty.
std::wstring NameOf(const ProductEntry& entry) { return entry.Name != nullptr ? entry.Name : L""; }

} // namespace

ProductSelection::ProductSelection(std::span<const ProductEntry> entries)
{
    for (const ProductEntry& entry : entries)
    {
        if (entry.Kind != ProductKindOwn && entry.Kind != ProductKindOther)
            continue;
        Names& names = entry.Kind == ProductKindOwn ? own : other;
        (entry.Force != 0 ? names.forced : names.plain).push_back(NameOf(entry));
    }
}

std::wstring DescribeSelection(std::span<const ProductEntry> entries)
{
    std::wstring text;
    for (const ProductEntry& entry : entries)
    {
        // Every kind but the first reads "EXT" here, also one that is dropped afterwards.
        text += entry.Kind == ProductKindOwn ? L"\"HQ : " : L"\"EXT : ";
        text += NameOf(entry);
        text += entry.Force != 0 ? L" force\" " : L"\" ";
    }
    return text;
}

LockedProducts::LockedProducts(SAFEARRAY* products) noexcept
    : array(products), result(SafeArrayAccessData(products, &data))
{}

LockedProducts::~LockedProducts() { Unlock(); }

bool LockedProducts::HasProductEntries() const noexcept
{
    if (array->cDims != 1)
        return false;
    // Where there is no element, none is read, whatever its size and first index would be.
    const SAFEARRAYBOUND& bound = array->rgsabound[0];
    return bound.cElements == 0 || (array->cbElements == sizeof(ProductEntry) && bound.lLbound == 0 && data != nullptr);
}

std::span<const ProductEntry> LockedProducts::Entries() const noexcept
{
    return {static_cast<const ProductEntry*>(data), array->rgsabound[0].cElements};
}

HRESULT LockedProducts::Unlock() noexcept
{
    if (FAILED(result) || array == nullptr)
        return S_OK;
    SAFEARRAY* const locked = array;
    array = nullptr;
    return SafeArrayUnaccessData(locked);
}

} // namespace prodsweep
