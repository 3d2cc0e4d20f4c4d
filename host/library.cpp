#include "library.h"

#include <new>
#include <type_traits>

#include "exit_codes.h"
#include "failure.h"
#include "module_path.h"
#include "on_disk.h"
#include "product_array.h"
#include "text.h"

namespace prodsweep {

namespace {

struct Catalogue
{
    int flag;
    const wchar_t* fileName;
};

constexpr Catalogue catalogues[] = {
    {PRODSWEEP_LIST_OWN, L"products.xml"},
    {PRODSWEEP_LIST_OTHER, L"detection.xml"},
};

struct BstrFree
{
    void operator()(OLECHAR* text) const noexcept { SysFreeString(text); }
};

std::string Quoted(const std::wstring& path) { return '"' + ToUtf8(path) + '"'; }

std::wstring LibraryFile(const std::string& path)
{
    return path.empty() ? FolderOf(ModulePath(nullptr)) + L"prodsweep.dll" : FullPath(ToWide(path));
}

HMODULE LoadFrom(const std::wstring& file)
{
    if (!PathExists(file))
        throw CFailure(exitNoLibrary, "the library " + Quoted(file) + " is missing.");
    const HMODULE module =
        LoadLibraryExW(file.c_str(), nullptr, LOAD_LIBRARY_SEARCH_DLL_LOAD_DIR | LOAD_LIBRARY_SEARCH_SYSTEM32);
    const DWORD error = GetLastError();
    if (module == nullptr)
        throw CFailure(static_cast<int>(error), "the library " + Quoted(file) + " cannot be loaded (Windows error " +
                                                    std::to_string(error) + ").");
    return module;
}

// The library says only that a listing failed. Asking for one catalogue at a time tells which one.
std::string FaultOf(const Catalogue& catalogue, decltype(&::GetProducts) getProducts, const std::wstring& folder)
{
    SAFEARRAY* products = nullptr;
    if (getProducts(&products, catalogue.flag))
    {
        const UniqueProductArray owner(products);
        return {};
    }
    const std::wstring file = folder + catalogue.fileName;
    return "the catalogue " + Quoted(file) +
           (PathExists(file) ? " cannot be read: it is not well-formed, or something in it is not as it must be (see "
                               "prodsweep check)"
                             : " is missing");
}

} // namespace

void SearchLibrariesSafely()
{
    // Cannot fail on a system that knows the call; what is loaded here has a full path anyhow.
    SetDefaultDllDirectories(LOAD_LIBRARY_SEARCH_DEFAULT_DIRS);
}

CLibrary::CLibrary(const std::string& path) : file(LibraryFile(path)), module(LoadFrom(file)) {}

std::string CLibrary::Path() const { return ToUtf8(ModulePath(module.get())); }

std::wstring CLibrary::CatalogueFile(int kind) const
{
    return FolderOf(ModulePath(module.get())) + catalogues[kind == PRODSWEEP_KIND_OWN ? 0 : 1].fileName;
}

void* CLibrary::Bind(const char* name) const
{
    auto* const address = reinterpret_cast<void*>(GetProcAddress(module.get(), name));
    if (address == nullptr)
        throw CFailure(exitNoExport, Quoted(file) + " is not a prodsweep library: it has no function " + name + ".");
    return address;
}

CLibrary::ListingExport CLibrary::BindListing(const char* name) const
{
    static_assert(std::is_same_v<ListingExport, decltype(&::GetInstalledProductsEx)>);
    return reinterpret_cast<ListingExport>(Bind(name));
}

bool CLibrary::Uninstall(const Product& product, bool force, bool* restart, UninstallCallback callback) const
{
    const auto uninstall = reinterpret_cast<decltype(&::UninstallProduct)>(Bind("UninstallProduct"));
    const std::unique_ptr<OLECHAR, BstrFree> name(SysAllocString(ToWide(product.name).c_str()));
    if (name == nullptr)
        throw std::bad_alloc();
    ProductEntry entry{};
    entry.Name = name.get();
    entry.Kind = product.kind;
    entry.Force = force ? 1 : 0;
    return uninstall(&entry, restart, callback);
}

bool CLibrary::UninstallAllInstalled(int kind, bool* restart, UninstallCallback callback) const
{
    return reinterpret_cast<decltype(&::UninstallAllInstalled)>(Bind("UninstallAllInstalled"))(kind, restart, callback);
}

bool CLibrary::UninstallForceAll(int kind, bool* restart, UninstallCallback callback) const
{
    return reinterpret_cast<decltype(&::UninstallForceAll)>(Bind("UninstallForceAll"))(kind, restart, callback);
}

int CLibrary::ProgressPercent() const
{
    return reinterpret_cast<decltype(&::GetProgressPercent)>(Bind("GetProgressPercent"))();
}

std::vector<Product> CLibrary::Products(int flags) const { return List(BindListing("GetProducts"), flags, false); }

std::vector<Product> CLibrary::InstalledProducts(int flags) const
{
    return List(BindListing("GetInstalledProductsEx"), flags, true);
}

std::vector<Product> CLibrary::List(ListingExport listing, int flags, bool installed) const
{
    SAFEARRAY* products = nullptr;
    // After a failure the array may be anything and is not touched.
    if (!listing(&products, flags))
        FailListing(flags);
    const UniqueProductArray owner(products);
    return ReadProducts(*owner, installed);
}

void CLibrary::FailListing(int flags) const
{
    const ListingExport getProducts = BindListing("GetProducts");
    const std::wstring folder = FolderOf(ModulePath(module.get()));
    std::string faults;
    for (const Catalogue& catalogue : catalogues)
    {
        const std::string fault = (flags & catalogue.flag) != 0 ? FaultOf(catalogue, getProducts, folder) : "";
        if (!fault.empty())
            faults += (faults.empty() ? "" : ", and ") + fault;
    }
    if (faults.empty())
        throw CFailure(exitNoMemory, "the library could not list the products, though it can read its catalogues: "
                                     "memory is short.");
    throw CFailure(exitBadCatalogue, faults + ".");
}

} // namespace prodsweep
