// GetInstalledProducts against the bare calls that the listing asks of MSXML and the registry: the
// same nodes and attributes read, the same keys opened, nothing kept.
#include "bench/benches.h"
#include "common/unique_reg_key.h"
#include "environment/xml_helper.h"

#include <prodsweep/prodsweep.h>
#include <windows.h>

#include <cstdio>
#include <fstream>
#include <string>

namespace prodsweep::bench {
namespace {

constexpr wchar_t uninstall[] = L"Software\\Microsoft\\Windows\\CurrentVersion\\Uninstall\\";
constexpr wchar_t folder[] = L"listing";
constexpr wchar_t catalogue[] = L"listing\\products.xml";

std::wstring EntryName(int product) { return L"prodsweep-bench-" + std::to_wstring(product); }

void WriteCatalogue(int products)
{
    CreateDirectoryW(folder, nullptr);
    std::ofstream file("listing\\products.xml");
    file << "<uninstall_information>\n";
    for (int i = 0; i < products; ++i)
    {
        file << "<product name=\"Product " << i << "\" file=\"product_" << i << ".xml\"><v1 name=\"1.0\" "
             << "id=\"prodsweep-bench-" << i << "\"><setup>setup.exe</setup></v1></product>\n";
    }
    file << "</uninstall_information>\n";
}

// The uninstall entries of every step-th product; none when step is 0. Removed at the end.
class Installed
{
public:
    Installed(int count, int every) : products(count), step(every)
    {
        for (int i = 0; step > 0 && i < products; i += step)
        {
            HKEY key = nullptr;
            RegCreateKeyExW(HKEY_LOCAL_MACHINE, (uninstall + EntryName(i)).c_str(), 0, nullptr, 0, KEY_ALL_ACCESS,
                            nullptr, &key, nullptr);
            const UniqueRegKey owned(key);
        }
    }
    ~Installed()
    {
        for (int i = 0; step > 0 && i < products; i += step)
            RegDeleteKeyW(HKEY_LOCAL_MACHINE, (uninstall + EntryName(i)).c_str());
    }
    Installed(const Installed&) = delete;
    Installed& operator=(const Installed&) = delete;

private:
    int products;
    int step;
};

bool Opens(const wchar_t* subkey, REGSAM access)
{
    HKEY key = nullptr;
    const bool opened = RegOpenKeyExW(HKEY_LOCAL_MACHINE, subkey, 0, access, &key) == ERROR_SUCCESS;
    const UniqueRegKey owned(key);
    return opened;
}

bool OpensInEitherView(const wchar_t* subkey)
{
    return Opens(subkey, KEY_READ) || Opens(subkey, KEY_READ | KEY_WOW64_32KEY);
}

// One attribute, looked up on its node as each reader of an attribute does.
BSTR Attribute(IXMLDOMNode* node, const wchar_t* name)
{
    UniqueXmlAttributes attributes;
    CXMLHelper::Attributes(node, attributes);
    const UniqueBstr wanted(SysAllocString(name));
    IXMLDOMNode* found = nullptr;
    attributes->getNamedItem(wanted.get(), &found);
    const UniqueXmlNode attribute(found);
    VARIANT value;
    VariantInit(&value);
    attribute->get_nodeValue(&value);
    return value.bstrVal;
}

void ReadChildren(IXMLDOMNode* version)
{
    UniqueXmlNodeList children;
    CXMLHelper::ChildNodes(version, children);
    long count = 0;
    children->get_length(&count);
    for (long i = 0; i < count; ++i)
    {
        UniqueXmlNode child;
        CXMLHelper::ChildAt(children.get(), i, child);
        BSTR name = nullptr;
        child->get_nodeName(&name);
        SysFreeString(name);
        BSTR text = nullptr;
        child->get_text(&text);
        SysFreeString(text);
    }
}

void ReadProduct(IXMLDOMNode* product)
{
    wchar_t module[MAX_PATH];
    GetModuleFileNameW(nullptr, module, MAX_PATH);
    SysFreeString(Attribute(product, L"name"));
    SysFreeString(Attribute(product, L"file"));
    UniqueXmlNodeList versions;
    CXMLHelper::ChildNodes(product, versions);
    long count = 0;
    versions->get_length(&count);
    for (long i = 0; i < count; ++i)
    {
        UniqueXmlNode version;
        CXMLHelper::ChildAt(versions.get(), i, version);
        SysFreeString(Attribute(version.get(), L"name"));
        ReadChildren(version.get());
        const UniqueBstr id(Attribute(version.get(), L"id"));
        wchar_t subkey[300];
        lstrcpyW(subkey, uninstall);
        lstrcatW(subkey, id.get());
        const bool installed = Opens(subkey, KEY_READ);
        // Asked once for the product, and once more for its versions.
        OpensInEitherView(subkey);
        if (installed)
            OpensInEitherView(subkey);
    }
}

void BareListing()
{
    CoInitialize(nullptr);
    {
        UniqueXmlDocument document;
        CXMLHelper::CreateDocument(document);
        bool loaded = false;
        CXMLHelper::LoadDocument(document.get(), catalogue, loaded);
        UniqueXmlNode node;
        CXMLHelper::DocumentNode(document.get(), node);
        UniqueXmlNode root;
        CXMLHelper::SelectNode(node.get(), L"uninstall_information", root);
        UniqueXmlNodeList children;
        CXMLHelper::ChildNodes(root.get(), children);
        long count = 0;
        children->get_length(&count);
        for (long i = 0; i < count; ++i)
        {
            UniqueXmlNode child;
            CXMLHelper::ChildAt(children.get(), i, child);
            BSTR name = nullptr;
            child->get_nodeName(&name);
            const UniqueBstr owned(name);
            if (std::wstring_view(name) == L"product")
                ReadProduct(child.get());
        }
    }
    CoUninitialize();
}

using ListingExport = bool (*)(SAFEARRAY**, int);

void List(ListingExport getInstalledProducts, int expected)
{
    SAFEARRAY* products = nullptr;
    if (!getInstalledProducts(&products, PRODSWEEP_LIST_OWN))
    {
        std::fputs("GetInstalledProducts failed\n", stderr);
        return;
    }
    if (products->rgsabound[0].cElements != static_cast<ULONG>(expected))
        std::fputs("GetInstalledProducts gave another number of products\n", stderr);
    ProdsweepFreeProducts(products);
}

struct Share
{
    const char* name;
    int step;
};

} // namespace

void BenchListing(Report& report)
{
    // The catalogue lies beside the DLL, so a copy of the DLL gets a folder of its own.
    CreateDirectoryW(folder, nullptr);
    CopyFileW(L"..\\bin\\prodsweep.dll", L"listing\\prodsweep.dll", FALSE);
    wchar_t path[MAX_PATH] = {};
    GetFullPathNameW(L"listing\\prodsweep.dll", MAX_PATH, path, nullptr);
    const HMODULE module = LoadLibraryExW(path, nullptr, LOAD_WITH_ALTERED_SEARCH_PATH);
    const auto getInstalledProducts =
        reinterpret_cast<ListingExport>(reinterpret_cast<void*>(GetProcAddress(module, "GetInstalledProducts")));

    for (const Share& share : {Share{"none", 0}, Share{"half", 2}, Share{"all", 1}})
    {
        Pair small{};
        for (const int products : {100, 1'000, 10'000})
        {
            WriteCatalogue(products);
            const Installed installed(products, share.step);
            const int expected = share.step == 0 ? 0 : (products + share.step - 1) / share.step;
            const Pair pair = SideBySide(
                products == 10'000 ? 5 : 11, [&] { List(getInstalledProducts, expected); }, BareListing);
            report.Compare("GetInstalledProducts, installed: " + std::string(share.name),
                           std::to_string(products) + " products", pair, "bare MSXML and registry", 1.25);
            if (products == 1'000)
                small = pair;
            else if (products == 10'000)
                report.Figure("GetInstalledProducts, installed: " + std::string(share.name),
                              "growth 1,000 to 10,000, against the floor's",
                              (pair.ours / small.ours) / (pair.peer / small.peer), "x", 1.1);
        }
    }
    FreeLibrary(module);
}

} // namespace prodsweep::bench
