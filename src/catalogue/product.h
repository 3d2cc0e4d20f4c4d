#pragma once

#include "catalogue/product_version.h"

#include <string>
#include <vector>

namespace prodsweep {

class CProductInstalled;

constexpr int ProductKindOwn = 1;   // the maker's own family: "products.xml", folder "intern"
constexpr int ProductKindOther = 2; // other makers' products: "detection.xml", folder "extern"

// One product element of a catalogue. A plain value.
class CProduct
{
public:
    // Reads a product element; every child node of it is taken for a version. False (logged) when an
    // attribute is missing or a version is at fault.
    [[nodiscard]] bool Load(IXMLDOMNode* node, int kind);

    // The maker's own products go by their registry marks alone, looked for where the process's own
    // bitness leads. Those of others count as installed when their descriptor's score says so, or a mark
    // in either registry view. COM must be initialised on this thread.
    [[nodiscard]] bool IsInstalled(int kind) const;
    // The same by a pass of the caller's over this product's descriptor, for one who wants to listen to it.
    [[nodiscard]] bool IsInstalled(int kind, CProductInstalled& pass) const;

    std::wstring name;
    std::wstring file; // full path of the uninstall descriptor, which need not exist
    VersionList versions;

private:
    // A step of the function of the same name; a log record carries the name of the function it stands in.
    [[nodiscard]] bool Load(IXMLDOMNode* node);
};

using ProductList = std::vector<CProduct>;

} // namespace prodsweep
