#include "bench/bare_listing.h"

#include "bench/bare_xml.h"
#include "common/unique_reg_key.h"

#include <windows.h>

#include <string_view>

namespace prodsweep::bench {
namespace {

std::wstring EntryKey(int product) { return uninstallKey + (L"prodsweep-bench-" + std::to_wstring(product)); }

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

void ReadVersion(IXMLDOMNode* version)
{
    const UniqueBstr name = BareAttribute(version, L"name");
    BareChildren(version, [](IXMLDOMNode* child) {
        BareName(child);
        BareText(child);
    });
    const UniqueBstr id = BareAttribute(version, L"id");
    wchar_t subkey[300];
    lstrcpyW(subkey, uninstallKey);
    lstrcatW(subkey, id.get());
    const bool installed = Opens(subkey, KEY_READ);
    // Asked once for the product, and once more for its versions.
    OpensInEitherView(subkey);
    if (installed)
        OpensInEitherView(subkey);
}

void ReadProduct(IXMLDOMNode* product)
{
    wchar_t module[MAX_PATH];
    GetModuleFileNameW(nullptr, module, MAX_PATH);
    const UniqueBstr name = BareAttribute(product, L"name");
    const UniqueBstr file = BareAttribute(product, L"file");
    BareChildren(product, ReadVersion);
}

} // namespace

void BareListing(const wchar_t* catalogue)
{
    const UniqueXmlNode root = BareRoot(catalogue);
    const TakeNode readIfProduct = [](IXMLDOMNode* child) {
        BSTR name = nullptr;
        child->get_nodeName(&name);
        const UniqueBstr owned(name);
        if (std::wstring_view(name) == L"product")
            ReadProduct(child);
    };
    BareChildren(root.get(), readIfProduct, Reading::InTurn);
}

InstalledEntries::InstalledEntries(int count, int every) : products(count), step(every)
{
    for (int i = 0; step > 0 && i < products; i += step)
    {
        HKEY key = nullptr;
        RegCreateKeyExW(HKEY_LOCAL_MACHINE, EntryKey(i).c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key, nullptr);
        const UniqueRegKey owned(key);
    }
}

InstalledEntries::~InstalledEntries()
{
    for (int i = 0; step > 0 && i < products; i += step)
        RegDeleteKeyW(HKEY_LOCAL_MACHINE, EntryKey(i).c_str());
}

} // namespace prodsweep::bench
