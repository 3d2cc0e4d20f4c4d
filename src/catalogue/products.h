#pragma once

#include "catalogue/product.h"
#include "common/uninstall_callback.h"
#include "common/wide_string_list.h"
#include "environment/xml_helper.h"
#include "interpreter/check_list.h"

#include <string>

namespace prodsweep {

// What a removal by name comes to.
struct UninstallSelection
{
    ProductList uninstallList; // what goes, in this order
    ProductList asked;         // what stays, and is asked what it still uses
};

// What a catalogue file says. Made anew for each call of an export.
class CProducts
{
public:
    // Reads a catalogue and appends its products to those already held. One product at fault fails the
    // whole file. callback may be null; it hears event 0 with how the load ended.
    [[nodiscard]] bool Load(const wchar_t* path, int kind, UninstallCallback callback);

    // Appends copies of the installed products, in catalogue order. Always true.
    bool GetInstalledProducts(ProductList& installed, int kind) const;

    // The first product of that very name.
    [[nodiscard]] bool GetProductInfo(const std::wstring& name, CProduct& info) const;
    [[nodiscard]] static bool IsProductInList(const ProductList& list, const std::wstring& name);

    // Removes the products of these names. names: only what is installed; forced: whatever is in the
    // catalogue. What the products that stay still use is left alone. restart: a restart is needed to
    // finish; untouched when there was nothing to do. False when a product's removal failed.
    bool Uninstall(const WideStringList& names, const WideStringList& forced, int kind, bool* restart,
                   UninstallCallback callback) const;
    // The selection that the function above makes, when these products are installed and it has not found
    // that there is nothing to do.
    [[nodiscard]] UninstallSelection Uninstall(const WideStringList& names, const WideStringList& forced, int kind,
                                               const ProductList& installed) const;
    // Removes the products of a list in their order, whatever is installed. checkList: what stays.
    static bool Uninstall(const ProductList& uninstallList, const CheckList& checkList, bool* restart,
                          UninstallCallback callback);
    // Every installed product; when it is only one, every other of the catalogue behind it.
    bool UninstallAllInstalled(int kind, bool* restart, UninstallCallback callback) const;
    // The list of the function above, from that of the installed products.
    void WidenAllInstalled(ProductList& list) const;
    // Every product of the catalogue, installed or not.
    bool UninstallForceAll(int kind, bool* restart, UninstallCallback callback) const;

    ProductList products;
    bool exec_all = true; // only the exact text "false" in the file makes it false

private:
    // Steps of the function of the same name; a log record carries the name of the function it stands in.
    [[nodiscard]] bool Load(IXMLDOMDocument* document, const wchar_t* path, int kind);
    [[nodiscard]] static bool Load(IXMLDOMDocument* document, UniqueXmlNodeList& children, long& count);
    // The list's next child; index is for the log.
    [[nodiscard]] bool Load(IXMLDOMNodeList* children, long index, int kind);
    void Uninstall(const WideStringList& names, const ProductList& installed, ProductList& uninstallList) const;
    void Uninstall(const WideStringList& forced, ProductList& uninstallList) const;
};

} // namespace prodsweep
