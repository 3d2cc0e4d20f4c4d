#include "table.h"

#include <gtest/gtest.h>

#include "text.h"

namespace prodsweep {
namespace {

TEST(TableTest, ColumnsAreAsWideAsTheirWidestCell)
{
    CTable table({"Name", "Kind"});
    table.Add({"a", "other"});
    table.Add({"longer", "own"});

    EXPECT_EQ("Name    Kind\n"
              "------  -----\n"
              "a       other\n"
              "longer  own\n",
              table.Text());
}

TEST(TableTest, EmptyCellsLeaveNoBlanksAtTheEnd)
{
    CTable table({"A", "B", "C"});
    table.Add({"", "b", ""});
    table.Add({"", "", ""});

    EXPECT_EQ("A  B  C\n-  -  -\n   b\n\n", table.Text());
}

TEST(TableTest, MissingCellsAreEmpty)
{
    CTable table({"A", "B"});
    table.Add({"a"});

    EXPECT_EQ("A  B\n-  -\na\n", table.Text());
}

TEST(TableTest, WideCharactersTakeTwoColumns)
{
    CTable table({"A", "B"});
    table.Add({ToUtf8(L"\x65E5"), "x"});
    table.Add({"abc", "x"});

    EXPECT_EQ("A    B\n---  -\n" + ToUtf8(L"\x65E5") + "   x\nabc  x\n", table.Text());
}

TEST(TableTest, CellWithALineEndStaysOnItsLine)
{
    CTable table({"A"});
    table.Add({"a\nb"});

    EXPECT_EQ("A\n---\na" + ToUtf8(L"\xFFFD") + "b\n", table.Text());
}

TEST(TableTest, WithoutRowsOnlyTheHeadingStands) { EXPECT_EQ("A\n-\n", CTable({"A"}).Text()); }

} // namespace
} // namespace prodsweep
