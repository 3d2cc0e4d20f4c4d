#include "product_array.h"

#include <algorithm>
#include <span>
#include <string_view>

#include "text.h"

namespace prodsweep {

namespace {

// The arrays have one dimension and are handed out unlocked, so pvData may be read as it stands. An
// array that is absent, empty of data, or of other elements than asked for has none.
const void* Data(const SAFEARRAY* array) { return array == nullptr ? nullptr : array->pvData; }

std::size_t Count(const SAFEARRAY* array, std::size_t elementSize)
{
    return Data(array) == nullptr || array->cbElements != elementSize ? 0 : array->rgsabound[0].cElements;
}

std::span<const BSTR> Strings(const SAFEARRAY* array)
{
    return {static_cast<const BSTR*>(Data(array)), Count(array, sizeof(BSTR))};
}

std::span<const ChildEntry> Children(const SAFEARRAY* array)
{
    return {static_cast<const ChildEntry*>(Data(array)), Count(array, sizeof(ChildEntry))};
}

std::span<const GuidEntry> Guids(const SAFEARRAY* array)
{
    return {static_cast<const GuidEntry*>(Data(array)), Count(array, sizeof(GuidEntry))};
}

std::span<const ProductEntry> Entries(const SAFEARRAY* array)
{
    return {static_cast<const ProductEntry*>(Data(array)), Count(array, sizeof(ProductEntry))};
}

std::string Text(BSTR text) { return ToUtf8(std::wstring_view(text, SysStringLen(text))); }

FoundVersion ReadVersion(const GuidEntry& entry)
{
    FoundVersion version;
    if (entry.Guid != nullptr)
        version.guid = Text(entry.Guid);
    for (const ChildEntry& child : Children(entry.Children))
    {
        auto& [name, values] = version.children.emplace_back();
        name = Text(child.Name);
        for (const BSTR& value : Strings(child.Values))
            values.push_back(Text(value));
    }
    return version;
}

} // namespace

std::vector<Product> ReadProducts(const SAFEARRAY& products, bool installed)
{
    std::vector<Product> list;
    for (const ProductEntry& entry : Entries(&products))
    {
        Product& product = list.emplace_back();
        product.name = Text(entry.Name);
        product.descriptor = Text(entry.File);
        product.kind = entry.Kind;
        product.installed = installed;
        for (const GuidEntry& version : Guids(entry.Guids))
            product.versions.push_back(ReadVersion(version));
    }
    return list;
}

void MergeInstalled(std::vector<Product>& catalogue, std::vector<Product> installed)
{
    auto place = catalogue.begin();
    for (Product& found : installed)
    {
        const auto match = std::find_if(place, catalogue.end(), [&](const Product& candidate) {
            return candidate.kind == found.kind && candidate.name == found.name &&
                   candidate.descriptor == found.descriptor;
        });
        // Absent only when the catalogue was changed between the two listings.
        if (match == catalogue.end())
            continue;
        *match = std::move(found);
        place = match + 1;
    }
}

} // namespace prodsweep
