#pragma once

#include "support/temp_tree.h"

#include <prodsweep/prodsweep.h>

#include <string>

namespace prodsweep::test {

// The built DLL as a client gets it: a copy in a folder of its own, beside catalogues of its own, loaded
// by its full path and bound by name. Each object is a fresh load, with none of the state of another.
class Library
{
public:
    Library();
    ~Library();
    Library(const Library&) = delete;
    Library& operator=(const Library&) = delete;

    // Content of "products.xml" and "detection.xml": the elements below the root, see catalogue_text.h.
    void WriteOwn(const std::wstring& elements);
    void WriteOther(const std::wstring& elements);
    // A file beside the DLL, with this very content.
    void Write(const std::wstring& relative, const std::string& content)
    {
        tree.AddFile(relative, FILE_ATTRIBUTE_NORMAL, content);
    }

    [[nodiscard]] std::wstring Path(const std::wstring& relative) const { return tree.Path(relative); }
    [[nodiscard]] HMODULE Module() const { return module; }
    // Neither the files beside the DLL nor its neighbours were touched.
    [[nodiscard]] bool CanariesIntact() const { return tree.CanariesIntact(); }

    decltype(&::GetProducts) GetProducts = nullptr;
    decltype(&::GetInstalledProducts) GetInstalledProducts = nullptr;
    decltype(&::GetInstalledProductsEx) GetInstalledProductsEx = nullptr;
    decltype(&::UninstallProducts) UninstallProducts = nullptr;
    decltype(&::UninstallProduct) UninstallProduct = nullptr;
    decltype(&::UninstallForceAll) UninstallForceAll = nullptr;
    decltype(&::UninstallAllInstalled) UninstallAllInstalled = nullptr;
    decltype(&::GetProgressPercent) GetProgressPercent = nullptr;

private:
    template <class Function>
    void Bind(Function& function, const char* name);

    TempTree tree;
    HMODULE module = nullptr;
};

// One of the three listing exports, for tests that hold for all of them.
struct Listing
{
    const char* name;
    decltype(&::GetProducts) Library::*call;
    const char* logName; // of the function that does the work, in log records
};
constexpr Listing listings[] = {
    {"GetProducts", &Library::GetProducts, "GetProducts"},
    {"GetInstalledProducts", &Library::GetInstalledProducts, "GetInstalledProductsHelper"},
    {"GetInstalledProductsEx", &Library::GetInstalledProductsEx, "GetInstalledProductsHelper"},
};

} // namespace prodsweep::test
