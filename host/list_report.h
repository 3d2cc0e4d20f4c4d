// How a list of products reads: for people, and for scripts.
#pragma once

#include <string>
#include <vector>

#include "product.h"

namespace prodsweep {

// A table and a closing sentence. installedOnly: the list was narrowed to what is installed.
std::string ListAsTable(const std::vector<Product>& products, bool installedOnly);

std::string ListAsJson(const std::string& library, const std::vector<Product>& products);

} // namespace prodsweep
