#include "catalogue/products.h"

#include <algorithm>
#include <iterator>

namespace prodsweep {
namespace {

// Exactly as written. Of two products with one name the first is meant.
ProductList::const_iterator Find(const ProductList& list, const std::wstring& name)
{
    return std::find_if(list.begin(), list.end(), [&](const CProduct& product) { return product.name == name; });
}

} // namespace

bool CProducts::GetInstalledProducts(ProductList& installed, int kind) const
{
    std::copy_if(products.begin(), products.end(), std::back_inserter(installed),
                 [kind](const CProduct& product) { return product.IsInstalled(kind); });
    return true;
}

bool CProducts::GetProductInfo(const std::wstring& name, CProduct& info) const
{
    const auto found = Find(products, name);
    if (found == products.end())
        return false;
    info = *found;
    return true;
}

bool CProducts::IsProductInList(const ProductList& list, const std::wstring& name)
{
    return Find(list, name) != list.end();
}

} // namespace prodsweep
