// A library with the exports of prodsweep.dll that a listing needs, which answers as the environment
// variable PRODSWEEP_STANDIN says:
//   shapes   one product with every shape of version that an array may hold
//   short    false for the installed products, though each catalogue can be read: memory is short
#include <iterator>
#include <string_view>

#include "prodsweep/prodsweep.h"

namespace {

bool Asked(std::wstring_view answer)
{
    wchar_t text[16]{};
    const DWORD length = GetEnvironmentVariableW(L"PRODSWEEP_STANDIN", text, static_cast<DWORD>(std::size(text)));
    return std::wstring_view(text, length) == answer;
}

SAFEARRAY* NewArray(ULONG elementSize, ULONG count)
{
    SAFEARRAY* array = nullptr;
    if (FAILED(SafeArrayAllocDescriptor(1, &array)))
        return nullptr;
    array->cbElements = elementSize;
    array->rgsabound[0].cElements = count;
    SafeArrayAllocData(array);
    return array;
}

SAFEARRAY* NewVersions()
{
    SAFEARRAY* versions = NewArray(sizeof(GuidEntry), 4);
    auto* entries = static_cast<GuidEntry*>(versions->pvData);
    // 0: all zero. 1: half a surrogate pair. 2: line ends and an escape sequence. 3: nothing below it.
    entries[1].Guid = SysAllocString(L"half \xD834 pair");
    entries[2].Guid = SysAllocString(L"two\r\nlines\x1B[2J");
    entries[2].Children = NewArray(sizeof(ChildEntry), 2);
    auto* children = static_cast<ChildEntry*>(entries[2].Children->pvData);
    children[0].Name = SysAllocString(L"lone");
    children[1].Name = SysAllocString(L"values");
    children[1].Values = NewArray(sizeof(BSTR), 2);
    auto* values = static_cast<BSTR*>(children[1].Values->pvData);
    values[1] = SysAllocString(L"second");
    entries[3].Guid = SysAllocString(L"plain");
    entries[3].Children = NewArray(sizeof(ChildEntry), 0);
    return versions;
}

bool ListShapes(SAFEARRAY** products, bool withVersions)
{
    *products = NewArray(sizeof(ProductEntry), 2);
    auto* entries = static_cast<ProductEntry*>((*products)->pvData);
    entries[0].Name = SysAllocString(L"Shapes");
    entries[0].File = SysAllocString(L"C:\\shapes.xml");
    entries[0].Kind = PRODSWEEP_KIND_OWN;
    entries[0].Guids = withVersions ? NewVersions() : nullptr;
    // 1: a product whose texts could not be allocated.
    entries[1].Kind = PRODSWEEP_KIND_OTHER;
    return true;
}

} // namespace

extern "C" bool GetProducts(SAFEARRAY** products, int) { return ListShapes(products, false); }

extern "C" bool GetInstalledProductsEx(SAFEARRAY** products, int)
{
    // What a caller must not touch after a failure.
    *products = reinterpret_cast<SAFEARRAY*>(1);
    return !Asked(L"short") && ListShapes(products, true);
}
