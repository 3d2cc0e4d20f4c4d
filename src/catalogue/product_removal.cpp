// Which products go, which of the others are asked what they still use, and the run over them.
#include "catalogue/products.h"

#include "environment/log.h"
#include "interpreter/product_uninstall.h"

namespace prodsweep {
namespace {

void AppendMissing(ProductList& list, const ProductList& all)
{
    for (const CProduct& product : all)
    {
        if (!CProducts::IsProductInList(list, product.name))
            list.push_back(product);
    }
}

void AppendStaying(ProductList& asked, const ProductList& installed, const ProductList& uninstallList)
{
    for (const CProduct& product : installed)
    {
        if (!CProducts::IsProductInList(uninstallList, product.name))
            asked.push_back(product);
    }
}

} // namespace

bool CProducts::Uninstall(const WideStringList& names, const WideStringList& forced, int kind, bool* restart,
                          UninstallCallback callback) const
{
    ProductList installed;
    if (!GetInstalledProducts(installed, kind))
    {
        LOG(LogError, L"GetInstalledProducts failed");
        return false;
    }
    if ((names.empty() || installed.empty()) && forced.empty())
    {
        LOG(LogTrace, L"Nothing to uninstall");
        if (names.empty())
            LOG(LogTrace, L"You try to uninstall zero installed products and zero force products");
        if (installed.empty())
            LOG(LogTrace, L"There are zero installed products and you try to uninstall zero force products");
        return true;
    }
    const UninstallSelection selection = Uninstall(names, forced, kind, installed);
    CheckList checkList;
    for (const CProduct& product : selection.asked)
        checkList.emplace_back(product.file);
    const bool result = Uninstall(selection.uninstallList, checkList, restart, callback);
    LOG(LogTrace, L"<- %s", result ? L"true" : L"false");
    return result;
}

UninstallSelection CProducts::Uninstall(const WideStringList& names, const WideStringList& forced, int kind,
                                        const ProductList& installed) const
{
    UninstallSelection selection;
    Uninstall(names, installed, selection.uninstallList);
    if (selection.uninstallList.size() == 1 && installed.size() == 1 && kind == ProductKindOwn)
    {
        // The last product of the family goes. With exec_all the descriptors of all the others are run
        // too, to clean up what they may have left. Deliberate: forced is not looked at then.
        if (exec_all)
            AppendMissing(selection.uninstallList, products);
        return selection;
    }
    Uninstall(forced, selection.uninstallList);
    // Deliberate: only products of the maker's own family protect what they share.
    if (kind == ProductKindOwn)
        AppendStaying(selection.asked, installed, selection.uninstallList);
    return selection;
}

void CProducts::Uninstall(const WideStringList& names, const ProductList& installed, ProductList& uninstallList) const
{
    for (const std::wstring& name : names)
    {
        CProduct info;
        if (!IsProductInList(installed, name))
            LOG(LogError, L"\"%s\" is not installed", name.c_str());
        else if (!GetProductInfo(name, info))
            LOG(LogError, L"the uninstall xml file doesn't provide info for \"%s\"", name.c_str());
        else
            uninstallList.push_back(std::move(info));
    }
}

void CProducts::Uninstall(const WideStringList& forced, ProductList& uninstallList) const
{
    // Neither asked whether it is installed nor whether it is in the list: what is named twice goes twice.
    for (const std::wstring& name : forced)
    {
        CProduct info;
        if (GetProductInfo(name, info))
            uninstallList.push_back(std::move(info));
        else
            LOG(LogError, L"the uninstall xml file doesn't provide info for \"%s\"", name.c_str());
    }
}

bool CProducts::Uninstall(const ProductList& uninstallList, const CheckList& checkList, bool* restart,
                          UninstallCallback callback)
{
    LOG(LogTrace, L"UNINSTALL LIST : ");
    std::wstring names;
    for (const CProduct& product : uninstallList)
        names += L"\"" + product.name + L"\", ";
    LOG(LogTrace, L"%s", names.c_str());
    LOG(LogTrace, L"CHECK LIST : ");
    for (const CProductCheckUse& product : checkList)
        LOG(LogTrace, L"\"%s\"", product.DescriptorPath().c_str());

    *restart = false;
    bool result = true;
    for (const CProduct& product : uninstallList)
    {
        CProductUninstall removal(product.name.c_str(), product.file, checkList, callback);
        // One that fails does not keep the others from being tried.
        result = removal.Uninstall() && result;
        *restart = *restart || removal.RestartRequired();
    }
    return result;
}

bool CProducts::UninstallAllInstalled(int kind, bool* restart, UninstallCallback callback) const
{
    LOG(LogTrace, L"-> UninstallAllInstalled");
    ProductList list;
    if (!GetInstalledProducts(list, kind))
    {
        LOG(LogError, L"GetInstalledProducts failed");
        return false;
    }
    WidenAllInstalled(list);
    const bool result = Uninstall(list, CheckList(), restart, callback);
    LOG(LogTrace, L"<- UninstallAllInstalled %s", result ? L"true" : L"false");
    return result;
}

void CProducts::WidenAllInstalled(ProductList& list) const
{
    // Deliberate: neither exec_all nor the kind is asked here, unlike in the selection by name.
    if (list.size() == 1)
        AppendMissing(list, products);
}

bool CProducts::UninstallForceAll(int /*kind*/, bool* restart, UninstallCallback callback) const
{
    LOG(LogTrace, L"-> UninstallForceAll");
    const bool result = Uninstall(products, CheckList(), restart, callback);
    LOG(LogTrace, L"<- UninstallForceAll %s", result ? L"true" : L"false");
    return result;
}

} // namespace prodsweep
