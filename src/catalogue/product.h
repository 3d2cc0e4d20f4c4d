#pragma once

#include "catalogue/product_version.h"

#include <string>
#include <vector>

namespace prodsweep {

constexpr int ProductKindOwn = 1;   // the maker's own family: "products.xml", folder "intern"
constexpr int ProductKindOther = 2; // other makers' products: "detection.xml", folder "extern"

// One product element of a catalogue. A plain value.
class CProduct
{
public:
    [[nodiscard]] bool Load(IXMLDOMNode* node, int kind);
    [[nodiscard]] bool IsInstalled(int kind) const;

    std::wstring name;
    std::wstring file; // full path of the uninstall descriptor
    VersionList versions;
};

using ProductList = std::vector<CProduct>;

} // namespace prodsweep
