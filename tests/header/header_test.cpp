#include <prodsweep/prodsweep.h>

#include "support/import_patch.h"

#include <gtest/gtest.h>

#include <set>
#include <string>

// One of each from every translation of use_header.in.
#define FROM_EACH(version)                                                                                             \
    extern "C" void Free_##version(SAFEARRAY* products);                                                               \
    extern "C" void Sizes_##version(size_t sizes[3]);                                                                  \
    extern "C" int Numbers_##version();
FROM_EACH(c_99)
FROM_EACH(c_11)
FROM_EACH(cxx_11)
FROM_EACH(cxx_20)
#undef FROM_EACH

namespace prodsweep {
namespace {

// What is alive of strings and arrays.
std::multiset<void*> strings;
std::multiset<void*> arrays;

void(WINAPI* realFreeString)(BSTR) = nullptr;
HRESULT(WINAPI* realDestroy)(SAFEARRAY*) = nullptr;

void WINAPI FreeString(BSTR text)
{
    if (text != nullptr && strings.erase(text) == 0)
        ADD_FAILURE() << "a string is freed that is not alive";
    realFreeString(text);
}

HRESULT WINAPI Destroy(SAFEARRAY* array)
{
    if (array != nullptr && arrays.erase(array) == 0)
        ADD_FAILURE() << "an array is destroyed that is not alive";
    const HRESULT result = realDestroy(array);
    EXPECT_EQ(S_OK, result);
    return result;
}

BSTR NewString(const std::wstring& text)
{
    const BSTR made = SysAllocString(text.c_str());
    strings.insert(made);
    return made;
}

// As the library makes them: step by step, without feature flags.
template <class Element>
Element* NewArray(SAFEARRAY** array, unsigned count, bool withData = true)
{
    EXPECT_EQ(S_OK, SafeArrayAllocDescriptor(1, array));
    arrays.insert(*array);
    (*array)->cbElements = sizeof(Element);
    (*array)->rgsabound[0].cElements = count;
    (*array)->rgsabound[0].lLbound = 0;
    if (withData)
    {
        EXPECT_EQ(S_OK, SafeArrayAllocData(*array));
    }
    return static_cast<Element*>((*array)->pvData);
}

SAFEARRAY* NewStrings(unsigned count)
{
    SAFEARRAY* array = nullptr;
    BSTR* const texts = NewArray<BSTR>(&array, count);
    for (unsigned i = 0; i < count; ++i)
        texts[i] = NewString(L"text " + std::to_wstring(i));
    return array;
}

class ProdsweepFreeTest : public testing::Test
{
public:
    ProdsweepFreeTest()
        : freeing(nullptr, "SysFreeString", FreeString), destroying(nullptr, "SafeArrayDestroy", Destroy)
    {
        realFreeString = freeing.Original<void WINAPI(BSTR)>();
        realDestroy = destroying.Original<HRESULT WINAPI(SAFEARRAY*)>();
        strings.clear();
        arrays.clear();
    }
    ~ProdsweepFreeTest() override
    {
        EXPECT_EQ(0u, strings.size()) << "strings are left";
        EXPECT_EQ(0u, arrays.size()) << "arrays are left";
    }

protected:
    ProductEntry* NewProducts(unsigned count)
    {
        auto* const entries = NewArray<ProductEntry>(&products, count);
        for (unsigned i = 0; i < count; ++i)
        {
            entries[i].Name = NewString(L"name");
            entries[i].File = NewString(L"file");
        }
        return entries;
    }

    SAFEARRAY* products = nullptr;

private:
    const test::ImportPatch freeing;
    const test::ImportPatch destroying;
};

TEST_F(ProdsweepFreeTest, NullArraysAreNoError)
{
    ProdsweepFreeProducts(nullptr);
    ProdsweepFreeGuids(nullptr);
    ProdsweepFreeStrings(nullptr);
}

TEST_F(ProdsweepFreeTest, ProductsWithoutGuidsAreFreed)
{
    NewProducts(3);
    ProdsweepFreeProducts(products);
}

TEST_F(ProdsweepFreeTest, EmptyArrayIsFreed)
{
    NewProducts(0);
    ProdsweepFreeProducts(products);
}

TEST_F(ProdsweepFreeTest, GuidsThatAreStringsAreFreed)
{
    ProductEntry* const entries = NewProducts(3);
    entries[0].Guids = NewStrings(2);
    entries[2].Guids = NewStrings(0);
    ProdsweepFreeProducts(products);
}

TEST_F(ProdsweepFreeTest, GuidsWithChildrenAreFreed)
{
    ProductEntry* const entries = NewProducts(2);
    for (unsigned i = 0; i < 2; ++i)
    {
        auto* const guids = NewArray<GuidEntry>(&entries[i].Guids, 2);
        for (unsigned k = 0; k < 2; ++k)
        {
            guids[k].Guid = NewString(L"{guid}");
            auto* const children = NewArray<ChildEntry>(&guids[k].Children, 2);
            children[0] = {NewString(L"name"), NewStrings(3)};
            children[1] = {NewString(L"other"), NewStrings(1)};
        }
    }
    ProdsweepFreeProducts(products);
}

TEST_F(ProdsweepFreeTest, WhatIsNullOrEmptyInsideIsPassedOver)
{
    SAFEARRAY* guidArray = nullptr;
    auto* const guids = NewArray<GuidEntry>(&guidArray, 4); // the first stays all zero
    guids[1].Guid = NewString(L"no children");
    guids[2].Guid = NewString(L"empty children");
    NewArray<ChildEntry>(&guids[2].Children, 0);
    auto* const children = NewArray<ChildEntry>(&guids[3].Children, 3);
    children[0].Name = NewString(L"no values");
    children[1].Values = NewStrings(0);
    children[2].Values = NewStrings(2);
    SysFreeString(static_cast<BSTR*>(children[2].Values->pvData)[0]);
    static_cast<BSTR*>(children[2].Values->pvData)[0] = nullptr;
    ProdsweepFreeGuids(guidArray);
}

TEST_F(ProdsweepFreeTest, ArraysWithoutDataAreFreedOnEveryLevel)
{
    NewArray<ProductEntry>(&products, 5, false);
    ProdsweepFreeProducts(products);

    ProductEntry* const entries = NewProducts(4);
    NewArray<GuidEntry>(&entries[0].Guids, 5, false);
    NewArray<BSTR>(&entries[1].Guids, 5, false);
    auto* const guids = NewArray<GuidEntry>(&entries[2].Guids, 1);
    NewArray<ChildEntry>(&guids->Children, 5, false);
    auto* const child = NewArray<ChildEntry>(&NewArray<GuidEntry>(&entries[3].Guids, 1)->Children, 1);
    NewArray<BSTR>(&child->Values, 5, false);
    ProdsweepFreeProducts(products);
}

struct Language
{
    const char* name;
    void (*free)(SAFEARRAY*);
    void (*sizes)(size_t*);
    int (*numbers)();
};
constexpr Language languages[] = {{"C99", Free_c_99, Sizes_c_99, Numbers_c_99},
                                  {"C11", Free_c_11, Sizes_c_11, Numbers_c_11},
                                  {"C++11", Free_cxx_11, Sizes_cxx_11, Numbers_cxx_11},
                                  {"C++20", Free_cxx_20, Sizes_cxx_20, Numbers_cxx_20}};

TEST_F(ProdsweepFreeTest, EachLanguageFreesTheSame)
{
    for (const Language& language : languages)
    {
        SCOPED_TRACE(language.name);
        ProductEntry* const entries = NewProducts(2);
        entries[0].Guids = NewStrings(2);
        NewArray<GuidEntry>(&entries[1].Guids, 1)->Guid = NewString(L"{guid}");
        language.free(products);
        EXPECT_EQ(0u, strings.size() + arrays.size());
    }
}

TEST(ProdsweepHeaderTest, EachLanguageSeesTheSameLayoutAndNumbers)
{
    for (const Language& language : languages)
    {
        SCOPED_TRACE(language.name);
        size_t sizes[3] = {};
        language.sizes(sizes);
        EXPECT_EQ(40u, sizes[0]);
        EXPECT_EQ(16u, sizes[1]);
        EXPECT_EQ(16u, sizes[2]);
        EXPECT_EQ(2314, language.numbers());
    }
}

} // namespace
} // namespace prodsweep
