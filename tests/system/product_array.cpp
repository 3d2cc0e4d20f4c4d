#include "system/product_array.h"

#include <gtest/gtest.h>

#include <utility>

namespace prodsweep::test {

std::wstring Text(BSTR text) { return text != nullptr ? std::wstring(text, SysStringLen(text)) : L"(null)"; }

ULONG CheckedCount(const SAFEARRAY* array, ULONG elementSize)
{
    if (array == nullptr)
        return 0;
    EXPECT_EQ(1, array->cDims);
    EXPECT_EQ(0, array->fFeatures);
    EXPECT_EQ(elementSize, array->cbElements);
    EXPECT_EQ(0u, array->cLocks);
    EXPECT_EQ(0, array->rgsabound[0].lLbound);
    return array->rgsabound[0].cElements;
}

std::vector<std::wstring> Texts(const SAFEARRAY* array)
{
    std::vector<std::wstring> texts;
    const ULONG count = CheckedCount(array, sizeof(BSTR));
    texts.reserve(count);
    for (ULONG i = 0; i < count; ++i)
        texts.push_back(Text(static_cast<const BSTR*>(array->pvData)[i]));
    return texts;
}

SAFEARRAY** ProductArray::Receive()
{
    ProdsweepFreeProducts(std::exchange(array, nullptr));
    return &array;
}

SAFEARRAY* ProductArray::Release() { return std::exchange(array, nullptr); }

const ProductEntry& ProductArray::operator[](ULONG index) const
{
    return static_cast<const ProductEntry*>(array->pvData)[index];
}

std::vector<std::wstring> ProductArray::Names() const
{
    std::vector<std::wstring> names;
    names.reserve(Count());
    for (ULONG i = 0; i < Count(); ++i)
        names.push_back(Text((*this)[i].Name));
    return names;
}

std::vector<Guid> Guids(const SAFEARRAY* array)
{
    std::vector<Guid> guids;
    for (ULONG i = 0; i < CheckedCount(array, sizeof(GuidEntry)); ++i)
    {
        const GuidEntry& entry = static_cast<const GuidEntry*>(array->pvData)[i];
        Guid guid{Text(entry.Guid), {}};
        for (ULONG k = 0; k < CheckedCount(entry.Children, sizeof(ChildEntry)); ++k)
        {
            const ChildEntry& child = static_cast<const ChildEntry*>(entry.Children->pvData)[k];
            guid.children.emplace_back(Text(child.Name), Texts(child.Values));
        }
        guids.push_back(std::move(guid));
    }
    return guids;
}

} // namespace prodsweep::test
