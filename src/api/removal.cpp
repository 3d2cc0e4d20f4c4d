#include "api/removal.h"

#include "api/com_scope.h"
#include "api/product_selection.h"
#include "catalogue/products.h"
#include "common/path_join.h"
#include "environment/log.h"
#include "environment/path.h"

#include <string>
#include <utility>

namespace prodsweep {
namespace {

// Null for a number that is no kind.
const wchar_t* CatalogueName(int kind)
{
    switch (kind)
    {
    case ProductKindOwn:
        return L"products.xml";
    case ProductKindOther:
        return L"detection.xml";
    default:
        return nullptr;
    }
}

// The catalogue of one kind, read from beside the library. What went wrong is a value: each export
// logs it in its own name.
struct OpenedCatalogue
{
    enum class Fault
    {
        None,
        NoFolder,    // the library's own folder is not known
        UnknownKind, // neither of the two
        NotLoaded    // see path
    };

    OpenedCatalogue(int kind, UninstallCallback callback) : fault(Open(kind, callback)) {}

    std::wstring path;
    CProducts products;
    Fault fault;

private:
    Fault Open(int kind, UninstallCallback callback)
    {
        if (!CPath::GetCurrentPath(path))
            return Fault::NoFolder;
        const wchar_t* const name = CatalogueName(kind);
        if (name == nullptr)
            return Fault::UnknownKind;
        PathJoin(path, name);
        return products.Load(path.c_str(), kind, callback) ? Fault::None : Fault::NotLoaded;
    }
};

// The second half of the export of this name, under which it logs. path: the library's folder.
bool UninstallProducts(const ProductSelection& selection, std::wstring path, bool* restart, UninstallCallback callback)
{
    CProducts catalogue;
    bool result = true;
    if (!selection.own.Empty())
    {
        bool ownRestart = false;
        PathJoin(path, CatalogueName(ProductKindOwn));
        result = catalogue.Load(path.c_str(), ProductKindOwn, callback);
        if (!result)
            LOG(LogError, L"load products HQ \"%s\" failed", path.c_str());
        else
            result =
                catalogue.Uninstall(selection.own.plain, selection.own.forced, ProductKindOwn, &ownRestart, callback);
        // Deliberate: combined by "and" with a flag that starts as false, so this export never reports
        // a restart. UninstallProduct and the catalogue exports do.
        *restart = *restart && ownRestart;
    }
    if (!selection.other.Empty())
    {
        bool otherRestart = false;
        // Deliberate: joined to the same text, so that after products of the first kind this path leads
        // nowhere and the call fails. Callers pass one kind at a time.
        PathJoin(path, CatalogueName(ProductKindOther));
        if (!catalogue.Load(path.c_str(), ProductKindOther, callback))
        {
            LOG(LogError, L"load products EXT \"%s\" failed", path.c_str());
            result = false;
        }
        else if (result)
        {
            result = catalogue.Uninstall(selection.other.plain, selection.other.forced, ProductKindOther, &otherRestart,
                                         callback);
        }
        *restart = *restart && otherRestart;
    }
    return result;
}

} // namespace

bool UninstallProducts(SAFEARRAY* products, bool* restart, UninstallCallback callback)
{
    LOG(LogTrace, L"->");
    const ComScope com;
    *restart = false;
    LockedProducts locked(products);
    if (FAILED(locked.Result()))
    {
        LOG(LogError, L"SafeArrayAccessData failed 0x%x", locked.Result());
        return false;
    }
    if (!locked.HasProductEntries())
    {
        LOG(LogError, L"the array does not hold product entries from index 0");
        return false;
    }
    LOG(LogTrace, L"Uninstall : \"%s\"", DescribeSelection(locked.Entries()).c_str());
    std::wstring path;
    if (!CPath::GetCurrentPath(path))
    {
        LOG(LogError, L"GetCurrentPath failed");
        return false;
    }
    const ProductSelection selection(locked.Entries());
    if (const HRESULT unlocked = locked.Unlock(); FAILED(unlocked))
        LOG(LogError, L"SafeArrayUnaccessData failed 0x%x", unlocked);

    const bool result = UninstallProducts(selection, std::move(path), restart, callback);
    LOG(LogTrace, L"<- %s", result ? L"true" : L"false");
    return result;
}

bool UninstallProduct(const ProductEntry* product, bool* restart, UninstallCallback callback)
{
    LOG(LogTrace, L"->");
    const ComScope com;
    const std::wstring name = product->Name != nullptr ? product->Name : L"";
    LOG(LogTrace, L"Uninstall \"%s\"", name.c_str());
    OpenedCatalogue catalogue(product->Kind, callback);
    bool result = false;
    switch (catalogue.fault)
    {
    case OpenedCatalogue::Fault::NoFolder:
        LOG(LogError, L"GetCurrentPath failed");
        return false;
    case OpenedCatalogue::Fault::UnknownKind:
        LOG(LogError, L"Unknown unistall type %d", product->Kind);
        return false;
    case OpenedCatalogue::Fault::NotLoaded:
        LOG(LogError, L"load products \"%s\" failed", catalogue.path.c_str());
        break;
    case OpenedCatalogue::Fault::None:
        result = product->Force == 0 ? catalogue.products.Uninstall({name}, {}, product->Kind, restart, callback)
                                     : catalogue.products.Uninstall({}, {name}, product->Kind, restart, callback);
        break;
    }
    LOG(LogTrace, L"<- %s", result ? L"true" : L"false");
    return result;
}

bool UninstallForceAll(int kind, bool* restart, UninstallCallback callback)
{
    const ComScope com;
    OpenedCatalogue catalogue(kind, callback);
    switch (catalogue.fault)
    {
    case OpenedCatalogue::Fault::NoFolder:
        LOG(LogError, L"GetCurrentPath failed");
        return false;
    case OpenedCatalogue::Fault::UnknownKind:
        LOG(LogError, L"Unknown unistall type %d", kind);
        return false;
    case OpenedCatalogue::Fault::NotLoaded:
        LOG(LogError, L"load products \"%s\" failed", catalogue.path.c_str());
        return false;
    case OpenedCatalogue::Fault::None:
        break;
    }
    return catalogue.products.UninstallForceAll(kind, restart, callback);
}

bool UninstallAllInstalled(int kind, bool* restart, UninstallCallback callback)
{
    const ComScope com;
    OpenedCatalogue catalogue(kind, callback);
    switch (catalogue.fault)
    {
    case OpenedCatalogue::Fault::NoFolder:
        LOG(LogError, L"GetCurrentPath failed");
        return false;
    case OpenedCatalogue::Fault::UnknownKind:
        LOG(LogError, L"Unknown unistall type %d", kind);
        return false;
    case OpenedCatalogue::Fault::NotLoaded:
        LOG(LogError, L"load products \"%s\" failed", catalogue.path.c_str());
        return false;
    case OpenedCatalogue::Fault::None:
        break;
    }
    return catalogue.products.UninstallAllInstalled(kind, restart, callback);
}

} // namespace prodsweep
