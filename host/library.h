// prodsweep.dll, loaded by its full path and bound by name.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include <windows.h>

#include "prodsweep/prodsweep.h"
#include "product.h"

namespace prodsweep {

// From here on a DLL comes from the program's folder, the system's or a full path; neither the
// current folder nor PATH is asked.
void SearchLibrariesSafely();

class CLibrary
{
public:
    // path is UTF-8 and may be relative; empty: the DLL beside the program. Throws CFailure.
    explicit CLibrary(const std::string& path);

    // UTF-8, full path of the file that was loaded.
    std::string Path() const;

    // Full path of the catalogue of a kind, PRODSWEEP_KIND_...
    std::wstring CatalogueFile(int kind) const;

    // flags: PRODSWEEP_LIST_... Both throw CFailure, which names the catalogue that is at fault.
    std::vector<Product> Products(int flags) const;
    std::vector<Product> InstalledProducts(int flags) const;

    // The removal exports. Each result is that of the export; restart and callback go to it.
    bool Uninstall(const Product& product, bool force, bool* restart, UninstallCallback callback) const;
    bool UninstallAllInstalled(int kind, bool* restart, UninstallCallback callback) const;
    bool UninstallForceAll(int kind, bool* restart, UninstallCallback callback) const;
    // Of the removal that runs on another thread. May pass 100.
    int ProgressPercent() const;

private:
    struct ModuleCloser
    {
        using pointer = HMODULE;
        void operator()(HMODULE module) const noexcept { FreeLibrary(module); }
    };
    using ListingExport = decltype(&::GetProducts);

    ListingExport BindListing(const char* name) const;
    // Throws CFailure when the library has no such export.
    void* Bind(const char* name) const;
    std::vector<Product> List(ListingExport listing, int flags, bool installed) const;
    [[noreturn]] void FailListing(int flags) const;

    std::wstring file;
    std::unique_ptr<HMODULE, ModuleCloser> module;
};

} // namespace prodsweep
