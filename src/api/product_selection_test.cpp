#include "api/product_selection.h"

#include <gtest/gtest.h>

#include <vector>

namespace prodsweep {
namespace {

// An array as a caller makes it.
class Array
{
public:
    explicit Array(ULONG count, ULONG elementSize = sizeof(ProductEntry), LONG first = 0)
    {
        EXPECT_EQ(S_OK, SafeArrayAllocDescriptor(1, &array));
        array->cbElements = elementSize;
        array->rgsabound[0] = {count, first};
        EXPECT_EQ(S_OK, SafeArrayAllocData(array));
    }
    ~Array() { EXPECT_EQ(S_OK, SafeArrayDestroy(array)) << "still locked?"; }
    Array(const Array&) = delete;
    Array& operator=(const Array&) = delete;

    [[nodiscard]] SAFEARRAY* Get() const { return array; }
    [[nodiscard]] USHORT Locks() const { return static_cast<USHORT>(array->cLocks); }

private:
    SAFEARRAY* array = nullptr;
};

// The texts of entries, for as long as it lives.
class Entries
{
public:
    struct Row
    {
        const wchar_t* name;
        int32_t kind;
        int32_t force;
    };
    Entries(std::initializer_list<Row> rows)
    {
        for (const Row& row : rows)
            entries.push_back({SysAllocString(row.name), nullptr, row.kind, 0, nullptr, row.force, 0});
    }
    ~Entries()
    {
        for (const ProductEntry& entry : entries)
            SysFreeString(entry.Name);
    }
    Entries(const Entries&) = delete;
    Entries& operator=(const Entries&) = delete;

    [[nodiscard]] std::span<const ProductEntry> Get() const { return entries; }

private:
    std::vector<ProductEntry> entries;
};

using Names = WideStringList;

TEST(ProductSelectionTest, NamesAreSortedByKindAndForceInTheirOrder)
{
    const Entries entries{{L"b", 1, 0}, {L"x", 2, 1}, {L"a", 1, 0}, {L"f", 1, 1},
                          {L"y", 2, 0}, {L"e", 1, 1}, {L"w", 2, 1}, {L"z", 2, 0}};

    const ProductSelection selection(entries.Get());

    EXPECT_EQ((Names{L"b", L"a"}), selection.own.plain);
    EXPECT_EQ((Names{L"f", L"e"}), selection.own.forced);
    EXPECT_EQ((Names{L"y", L"z"}), selection.other.plain);
    EXPECT_EQ((Names{L"x", L"w"}), selection.other.forced);
}

TEST(ProductSelectionTest, EntriesOfUnknownKindsAreDropped)
{
    const Entries entries{{L"a", 0, 0}, {L"b", 3, 1}, {L"c", -1, 0}, {L"d", 0x10001, 0}};

    const ProductSelection selection(entries.Get());

    EXPECT_TRUE(selection.own.Empty());
    EXPECT_TRUE(selection.other.Empty());
}

TEST(ProductSelectionTest, AnyForceButZeroForces)
{
    const Entries entries{{L"a", 1, -1}, {L"b", 1, 0x10000}, {L"c", 1, 0}};

    const ProductSelection selection(entries.Get());

    EXPECT_EQ((Names{L"a", L"b"}), selection.own.forced);
    EXPECT_EQ((Names{L"c"}), selection.own.plain);
}

TEST(ProductSelectionTest, NullNameIsAnEmptyOneAndSameNamesStay)
{
    const Entries entries{{nullptr, 1, 0}, {L"", 1, 0}, {L"a", 1, 0}, {L"a", 1, 0}};

    EXPECT_EQ((Names{L"", L"", L"a", L"a"}), ProductSelection(entries.Get()).own.plain);
}

TEST(ProductSelectionTest, OneListIsEnoughNotToBeEmpty)
{
    EXPECT_TRUE(ProductSelection({}).own.Empty());
    EXPECT_FALSE(ProductSelection(Entries{{L"a", 1, 0}}.Get()).own.Empty());
    EXPECT_FALSE(ProductSelection(Entries{{L"a", 1, 1}}.Get()).own.Empty());
    EXPECT_TRUE(ProductSelection(Entries{{L"a", 1, 1}}.Get()).other.Empty());
}

TEST(DescribeSelectionTest, EachEntryHasItsKindNameAndForce)
{
    const Entries entries{{L"a b", 1, 0}, {L"c", 1, 2}, {L"d", 2, 0}, {L"e", 2, 1}, {L"f", 3, 0}, {nullptr, 0, 1}};

    EXPECT_EQ(L"\"HQ : a b\" \"HQ : c force\" \"EXT : d\" \"EXT : e force\" \"EXT : f\" \"EXT :  force\" ",
              DescribeSelection(entries.Get()));
    EXPECT_EQ(L"", DescribeSelection({}));
}

TEST(LockedProductsTest, ArrayIsLockedWhileItLivesOrUntilUnlock)
{
    const Array array(2);
    {
        LockedProducts locked(array.Get());
        EXPECT_EQ(S_OK, locked.Result());
        EXPECT_EQ(1, array.Locks());
        EXPECT_EQ(array.Get()->pvData, locked.Entries().data());
        EXPECT_EQ(2u, locked.Entries().size());

        EXPECT_EQ(S_OK, locked.Unlock());
        EXPECT_EQ(0, array.Locks());
        EXPECT_EQ(S_OK, locked.Unlock()) << "a second time does nothing";
        EXPECT_EQ(0, array.Locks());
    }
    EXPECT_EQ(0, array.Locks());
    {
        const LockedProducts locked(array.Get());
    }
    EXPECT_EQ(0, array.Locks());
}

TEST(LockedProductsTest, LocksOfTheCallerStay)
{
    const Array array(1);
    ASSERT_EQ(S_OK, SafeArrayLock(array.Get()));
    {
        const LockedProducts locked(array.Get());
        EXPECT_EQ(2, array.Locks());
    }
    EXPECT_EQ(1, array.Locks());
    ASSERT_EQ(S_OK, SafeArrayUnlock(array.Get()));
}

TEST(LockedProductsTest, NullArrayIsRefused)
{
    LockedProducts locked(nullptr);

    EXPECT_EQ(E_INVALIDARG, locked.Result());
    EXPECT_EQ(S_OK, locked.Unlock());
}

struct ShapeRow
{
    const char* name;
    ULONG count;
    ULONG elementSize;
    LONG first;
    bool readable;
};

class ShapeTest : public testing::TestWithParam<ShapeRow>
{};

TEST_P(ShapeTest, IsReadOnlyWhereThatIsSafe)
{
    const ShapeRow& row = GetParam();
    const Array array(row.count, row.elementSize, row.first);
    const LockedProducts locked(array.Get());
    ASSERT_EQ(S_OK, locked.Result());

    EXPECT_EQ(row.readable, locked.HasProductEntries());
}

INSTANTIATE_TEST_SUITE_P(Shapes, ShapeTest,
                         testing::Values(ShapeRow{"Entries", 3, 40, 0, true}, ShapeRow{"Empty", 0, 40, 0, true},
                                         ShapeRow{"EmptyOfTexts", 0, 8, 0, true},
                                         ShapeRow{"EmptyFromOne", 0, 40, 1, true}, ShapeRow{"Texts", 3, 8, 0, false},
                                         ShapeRow{"SmallerElements", 3, 39, 0, false},
                                         ShapeRow{"LargerElements", 3, 48, 0, false},
                                         ShapeRow{"FromOne", 3, 40, 1, false},
                                         ShapeRow{"FromMinusOne", 3, 40, -1, false}),
                         [](const auto& row) { return row.param.name; });

TEST(LockedProductsTest, TwoDimensionsAreNotRead)
{
    SAFEARRAYBOUND bounds[] = {{1, 0}, {1, 0}};
    SAFEARRAY* const array = SafeArrayCreate(VT_I4, 2, bounds);
    ASSERT_NE(nullptr, array);
    EXPECT_FALSE(LockedProducts(array).HasProductEntries());
    EXPECT_EQ(S_OK, SafeArrayDestroy(array));
}

TEST(LockedProductsTest, ElementsWithoutDataAreNotRead)
{
    SAFEARRAY* array = nullptr;
    ASSERT_EQ(S_OK, SafeArrayAllocDescriptor(1, &array));
    array->cbElements = sizeof(ProductEntry);
    array->rgsabound[0] = {1, 0};
    {
        const LockedProducts locked(array);
        EXPECT_FALSE(SUCCEEDED(locked.Result()) && locked.HasProductEntries());
    }
    EXPECT_EQ(S_OK, SafeArrayDestroyDescriptor(array));
}

} // namespace
} // namespace prodsweep
