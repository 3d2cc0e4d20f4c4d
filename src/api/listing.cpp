#include "api/listing.h"

#include "api/array_builder.h"
#include "api/com_scope.h"
#include "api/guid_arrays.h"
#include "catalogue/products.h"
#include "common/path_join.h"
#include "environment/log.h"
#include "environment/path.h"

#include <prodsweep/prodsweep.h>

#include <string>

namespace prodsweep {
namespace {

struct CatalogueFile
{
    const wchar_t* name;
    int kind;
    int flag; // the selection flag that asks for it
};
constexpr CatalogueFile ownFile{L"products.xml", ProductKindOwn, PRODSWEEP_LIST_OWN};
constexpr CatalogueFile otherFile{L"detection.xml", ProductKindOther, PRODSWEEP_LIST_OTHER};

// A catalogue as read. One that was not asked for is empty and counts as loaded.
struct Catalogue
{
    bool loaded = true;
    std::wstring path;
    CProducts content;
};

Catalogue ReadCatalogue(std::wstring folder, const CatalogueFile& file, int flags)
{
    Catalogue catalogue;
    if ((flags & file.flag) == 0)
        return catalogue;
    catalogue.path = PathJoin(folder, file.name);
    catalogue.loaded = catalogue.content.Load(catalogue.path.c_str(), file.kind, nullptr);
    return catalogue;
}

// Returns the entry behind the last that it filled.
ProductEntry* FillEntries(ProductEntry* entry, const ProductList& products, int kind)
{
    for (const CProduct& product : products)
    {
        // A null BSTR is no failure here; callers take it for an empty text.
        entry->Name = SysAllocString(product.name.c_str());
        entry->File = SysAllocString(product.file.c_str());
        entry->Kind = kind;
        entry->Guids = nullptr;
        ++entry;
    }
    return entry;
}

// Returns the entry behind the last that it filled.
ProductEntry* FillGuids(ProductEntry* entry, const ProductList& products, bool extended)
{
    const auto fill = extended ? &GetInstalledGuidsEx : &GetInstalledGuids;
    for (const CProduct& product : products)
    {
        if (!fill(product.versions, &entry->Guids))
            entry->Guids = nullptr;
        ++entry;
    }
    return entry;
}

// The second step of the function of the same name; a log record carries the name of the function that it
// stands in, and the two listings log under names of their own.
bool GetProducts(SAFEARRAY** products, const ProductList& own, const ProductList& other)
{
    ArrayBuilder array(products, ProdsweepFreeProducts);
    const std::size_t count = own.size() + other.size();
    if (const HRESULT result = array.AllocDescriptor(sizeof(ProductEntry), static_cast<ULONG>(count)); FAILED(result))
    {
        LOG(LogError, L"SafeArrayAllocDescriptor failed 0x%x", result);
        return false;
    }
    if (const HRESULT result = array.AllocData(); FAILED(result))
    {
        LOG(LogError, L"SafeArrayAllocData failed 0x%x", result);
        return false;
    }
    void* data = nullptr;
    if (const HRESULT result = array.AccessData(&data); FAILED(result))
    {
        LOG(LogError, L"SafeArrayAccessData failed 0x%x", result);
        return false;
    }
    auto* const entries = static_cast<ProductEntry*>(data);
    FillEntries(FillEntries(entries, own, ProductKindOwn), other, ProductKindOther);
    if (const HRESULT result = array.HandOver(); FAILED(result))
        LOG(LogError, L"SafeArrayUnaccessData failed 0x%x", result);
    return true;
}

bool GetInstalledProductsHelper(SAFEARRAY** products, const ProductList& own, const ProductList& other, bool extended)
{
    ArrayBuilder array(products, ProdsweepFreeProducts);
    const std::size_t count = own.size() + other.size();
    if (const HRESULT result = array.AllocDescriptor(sizeof(ProductEntry), static_cast<ULONG>(count)); FAILED(result))
    {
        LOG(LogError, L"SafeArrayAllocDescriptor failed 0x%x", result);
        return false;
    }
    if (const HRESULT result = array.AllocData(); FAILED(result))
    {
        LOG(LogError, L"SafeArrayAllocData failed 0x%x", result);
        return false;
    }
    void* data = nullptr;
    if (const HRESULT result = array.AccessData(&data); FAILED(result))
    {
        LOG(LogError, L"SafeArrayAccessData failed 0x%x", result);
        return false;
    }
    auto* const entries = static_cast<ProductEntry*>(data);
    FillEntries(FillEntries(entries, own, ProductKindOwn), other, ProductKindOther);
    FillGuids(FillGuids(entries, own, extended), other, extended);
    if (const HRESULT result = array.HandOver(); FAILED(result))
        LOG(LogError, L"SafeArrayUnaccessData failed 0x%x", result);
    return true;
}

} // namespace

bool GetProducts(SAFEARRAY** products, int flags)
{
    LOG(LogTrace, L"->");
    const ComScope com;
    std::wstring folder;
    if (!CPath::GetCurrentPath(folder))
    {
        LOG(LogError, L"GetCurrentPath failed");
        return false;
    }
    const Catalogue own = ReadCatalogue(folder, ownFile, flags);
    if (!own.loaded)
        LOG(LogError, L"load products HQ \"%s\" failed", own.path.c_str());
    // Read even if the first has failed, so that the log names every catalogue at fault.
    const Catalogue other = ReadCatalogue(folder, otherFile, flags);
    if (!other.loaded)
        LOG(LogError, L"load products EXT \"%s\" failed", other.path.c_str());
    if (!own.loaded || !other.loaded)
    {
        LOG(LogTrace, L"<- %s", L"false");
        return false;
    }

    return GetProducts(products, own.content.products, other.content.products);
}

bool GetInstalledProducts(SAFEARRAY** products, int flags)
{
    LOG(LogTrace, L"->");
    return GetInstalledProductsHelper(products, flags, false);
}

bool GetInstalledProductsEx(SAFEARRAY** products, int flags)
{
    LOG(LogTrace, L"->");
    return GetInstalledProductsHelper(products, flags, true);
}

bool GetInstalledProductsHelper(SAFEARRAY** products, int flags, bool extended)
{
    LOG(LogTrace, L"->");
    const ComScope com;
    std::wstring folder;
    if (!CPath::GetCurrentPath(folder))
    {
        LOG(LogError, L"GetCurrentPath failed");
        return false;
    }
    ProductList ownInstalled;
    const Catalogue own = ReadCatalogue(folder, ownFile, flags);
    if (own.loaded)
        own.content.GetInstalledProducts(ownInstalled, ProductKindOwn);
    else
        LOG(LogError, L"load products HQ \"%s\" failed", own.path.c_str());
    ProductList otherInstalled;
    const Catalogue other = ReadCatalogue(folder, otherFile, flags);
    if (!other.loaded)
        LOG(LogError, L"load products EXT \"%s\" failed", other.path.c_str());
    if (!own.loaded || !other.loaded)
    {
        // Nothing is asked of the machine for the second catalogue once the call has failed.
        LOG(LogTrace, L"<- %s", L"false");
        return false;
    }
    other.content.GetInstalledProducts(otherInstalled, ProductKindOther);

    return GetInstalledProductsHelper(products, ownInstalled, otherInstalled, extended);
}

} // namespace prodsweep
