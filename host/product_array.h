// The arrays of the listing exports: who owns them, and what stands in them.
#pragma once

#include <memory>
#include <vector>

#include "prodsweep/prodsweep.h"
#include "product.h"

namespace prodsweep {

struct ProductArrayDeleter
{
    void operator()(SAFEARRAY* products) const noexcept { ProdsweepFreeProducts(products); }
};
using UniqueProductArray = std::unique_ptr<SAFEARRAY, ProductArrayDeleter>;

// Copies the array out; each product counts as installed or not as the caller says.
std::vector<Product> ReadProducts(const SAFEARRAY& products, bool installed);

// Marks those products of the catalogue that stand in the list of the installed, and takes over
// their versions. Both lists are in the catalogue's order. Of two products with the same name, kind
// and descriptor, of which one is installed, the first is marked: nothing tells them apart.
void MergeInstalled(std::vector<Product>& catalogue, std::vector<Product> installed);

} // namespace prodsweep
