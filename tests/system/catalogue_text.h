#pragma once

#include <string>

namespace prodsweep::test {

// Catalogues as text. Names and values go in as they are: what needs escaping in XML comes escaped.
[[nodiscard]] std::string CatalogueText(const std::wstring& elements);
[[nodiscard]] std::wstring ProductText(const std::wstring& name, const std::wstring& versions = {});

// A version that is there if the uninstall entry of that name is.
[[nodiscard]] std::wstring VersionById(const std::wstring& id, const std::wstring& children = {});
// A version that is there if the key's subkey "UpdateLocation" has the value.
[[nodiscard]] std::wstring VersionByKey(const std::wstring& keyPath, const std::wstring& value,
                                        const std::wstring& children = {});

} // namespace prodsweep::test
