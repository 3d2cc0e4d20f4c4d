#pragma once

#include "support/registry_sandbox.h"
#include "system/library.h"
#include "system/uninstall_entry.h"

#include <gtest/gtest.h>

#include <string>

namespace prodsweep::test {

// Products beside a DLL that it can remove for real. Each has a descriptor that deletes a file, a folder
// with a file, a key and a value of its own, and what it shares with the others of its kind.
class RemovableProducts
{
public:
    explicit RemovableProducts(Library& beside) : library(beside) {}
    ~RemovableProducts() { EXPECT_TRUE(registry.CanariesIntact()); }
    RemovableProducts(const RemovableProducts&) = delete;
    RemovableProducts& operator=(const RemovableProducts&) = delete;

    // Writes the kind's catalogue and descriptors, and what they delete. states: "A+B-" makes A, which is
    // installed, and B, which is not. elements: more for the catalogue. entryAttributes: of each file's entry.
    void Write(int kind, const std::wstring& states, const std::wstring& elements = {},
               const std::wstring& entryAttributes = {});

    // Are all things of the product's own there? Fails the test when only some are.
    [[nodiscard]] bool Has(int kind, const std::wstring& name) const;
    [[nodiscard]] bool HasShared(int kind) const { return Exists(File(kind, L"shared")); }
    [[nodiscard]] std::wstring File(int kind, const std::wstring& name) const;
    // Relative to the DLL.
    [[nodiscard]] static std::wstring Descriptor(int kind, const std::wstring& name);
    [[nodiscard]] static const wchar_t* Catalogue(int kind);

private:
    void Plant(int kind, const std::wstring& name);
    [[nodiscard]] std::string DescriptorText(int kind, const std::wstring& name, const std::wstring& attributes) const;

    Library& library;
    const RegistrySandbox registry;
    const UninstallEntry entry; // speaks for all that are installed
};

} // namespace prodsweep::test
