#pragma once

#include "environment/xml_helper.h"

#include <map>
#include <string>
#include <vector>

namespace prodsweep {

// One way to recognise a product on this machine: a registry key, optionally with a value in it.
class CProductVersion
{
public:
    // Reads a version element and resolves it to a key path, if need be by searching the system's
    // uninstall entries. False (logged) without a usable name or with a key path that lacks its value.
    [[nodiscard]] bool Load(IXMLDOMNode* node);

    // Looks only where the process's own bitness leads.
    [[nodiscard]] bool IsInstalled() const;
    // Looks in the other registry view as well when the key is not there.
    [[nodiscard]] bool IsInstalled2() const;

    std::wstring name;
    std::wstring prodName; // display name searched for, when the element has one
    std::wstring keyPath;  // with its hive; empty when nothing usable was found
    std::wstring keyValue; // empty: the key's existence is enough
    // The texts of the element's children by element name, in document order.
    std::map<std::wstring, std::vector<std::wstring>> ChildValues;

private:
    [[nodiscard]] bool SearchForProductCode();
};

using VersionList = std::vector<CProductVersion>;

} // namespace prodsweep
