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
    // uninstall entries. False (logged) without a name, or with a "keypath" that lacks its "keyvalue".
    // True with an empty keyPath when nothing usable was found.
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
    // Steps of the functions of the same name; a log record carries the name of the function it stands in.
    void Load(IXMLDOMNodeList* children);
    [[nodiscard]] bool SearchForProductCode(REGSAM access);

    // Resolves prodName to the key path of an uninstall entry with that display name, whichever view it
    // is in. False, with keyPath untouched, when there is none.
    [[nodiscard]] bool SearchForProductCode();

    // Below HKEY_LOCAL_MACHINE, with the separator that an entry's name follows.
    static constexpr const wchar_t* uninstallKey = L"Software\\Microsoft\\Windows\\CurrentVersion\\Uninstall\\";
};

using VersionList = std::vector<CProductVersion>;

} // namespace prodsweep
