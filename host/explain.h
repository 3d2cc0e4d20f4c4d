// Asks the library's own code whether a product is installed, and listens.
#pragma once

#include <string>

#include "explanation.h"
#include "product.h"

namespace prodsweep {

// catalogueFile: full path of the catalogue that the product is from; of several products with its name the first
// is meant. Throws CFailure.
Explanation Explain(const std::wstring& catalogueFile, const Product& product);

} // namespace prodsweep
