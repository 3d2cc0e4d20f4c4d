// The order that the recorded lists are put in, and what is dropped from them.
#include "interpreter/product_uninstall.h"

#include "support/removal_pass.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace prodsweep {
namespace {

using test::RemovalPass;
using testing::ElementsAre;

class CachedListsTest : public testing::Test
{
protected:
    static CachedRegItem Key(const wchar_t* key, bool x32view = false) { return {key, L"", x32view, false}; }
    static CachedRegItem Value(const wchar_t* key, const wchar_t* name, bool x32view = false)
    {
        return {key, name, x32view, true};
    }

    CheckList checkList;
    RemovalPass pass{L"Product", L"C:\\none.xml", checkList, nullptr};
};

TEST_F(CachedListsTest, PathsAreSortedByCharacterAndUnique)
{
    pass.cachedFiles = {L"b", L"a", L"B", L"a"};
    pass.restartDeleteList = {L"y", L"x", L"y"};
    pass.cachedKills = {L"q", L"p", L"q"};
    pass.cachedDisableDrivers = {L"s", L"r", L"r"};
    EXPECT_TRUE(pass.PrepareCachedOperations());
    EXPECT_THAT(pass.cachedFiles, ElementsAre(L"B", L"a", L"b"));
    EXPECT_THAT(pass.restartDeleteList, ElementsAre(L"x", L"y"));
    EXPECT_THAT(pass.cachedKills, ElementsAre(L"p", L"q"));
    EXPECT_THAT(pass.cachedDisableDrivers, ElementsAre(L"r", L"s"));
}

TEST_F(CachedListsTest, FolderPrunesWhatBeginsWithItsTextSiblingsToo)
{
    pass.cachedFolders = {L"C:\\AB", L"C:\\A\\B", L"C:\\A", L"C:\\B", L"C:\\a\\c"};
    pass.PrepareCachedOperations();
    EXPECT_THAT(pass.cachedFolders, ElementsAre(L"C:\\A", L"C:\\B", L"C:\\a\\c"));
}

TEST_F(CachedListsTest, FolderThatEndsInASeparatorSparesItsSiblings)
{
    pass.cachedFolders = {L"C:\\AB", L"C:\\A\\"};
    pass.PrepareCachedOperations();
    EXPECT_THAT(pass.cachedFolders, ElementsAre(L"C:\\AB", L"C:\\A\\"));
}

TEST_F(CachedListsTest, FilesAreNotPrunedByFoldersOrFiles)
{
    pass.cachedFolders = {L"C:\\App"};
    pass.cachedFiles = {L"C:\\App\\x.dll", L"C:\\App\\x"};
    pass.PrepareCachedOperations();
    EXPECT_THAT(pass.cachedFiles, ElementsAre(L"C:\\App\\x", L"C:\\App\\x.dll"));
}

TEST_F(CachedListsTest, KeyPrunesItsValuesAndWhatBeginsWithItsText)
{
    pass.cachedRegItems = {Value(L"HKLM\\FooBar", L"v"), Key(L"HKLM\\Foo\\Sub"), Value(L"HKLM\\Foo", L"v"),
                           Key(L"HKLM\\Foo"), Key(L"HKLM\\Goo")};
    pass.PrepareCachedOperations();
    EXPECT_THAT(pass.cachedRegItems, ElementsAre(Key(L"HKLM\\Foo"), Key(L"HKLM\\Goo")));
}

TEST_F(CachedListsTest, ValuePrunesNothing)
{
    pass.cachedRegItems = {Value(L"HKLM\\Foo", L"v"), Value(L"HKLM\\Foo", L"w"), Key(L"HKLM\\Foo\\Sub")};
    pass.PrepareCachedOperations();
    EXPECT_THAT(pass.cachedRegItems,
                ElementsAre(Value(L"HKLM\\Foo", L"v"), Value(L"HKLM\\Foo", L"w"), Key(L"HKLM\\Foo\\Sub")));
}

TEST_F(CachedListsTest, ViewsAreSortedApartAndThePruneDoesNotLookAtThem)
{
    pass.cachedRegItems = {Key(L"HKLM\\A", true), Key(L"HKLM\\B"), Key(L"HKLM\\C")};
    pass.PrepareCachedOperations();
    EXPECT_THAT(pass.cachedRegItems, ElementsAre(Key(L"HKLM\\B"), Key(L"HKLM\\C"), Key(L"HKLM\\A", true)));

    pass.cachedRegItems = {Key(L"HKLM\\C\\Sub", true), Key(L"HKLM\\C")};
    pass.PrepareCachedOperations();
    EXPECT_THAT(pass.cachedRegItems, ElementsAre(Key(L"HKLM\\C")));
}

TEST_F(CachedListsTest, SameValueWithAnotherBetweenStaysTwice)
{
    // The order does not look at the names of values, and only neighbours are compared.
    pass.cachedRegItems = {Value(L"k", L"a"), Value(L"k", L"b"), Value(L"k", L"a"), Value(L"k", L"a")};
    pass.PrepareCachedOperations();
    EXPECT_THAT(pass.cachedRegItems, ElementsAre(Value(L"k", L"a"), Value(L"k", L"b"), Value(L"k", L"a")));
}

TEST_F(CachedListsTest, SearchesAreSortedByViewThenMatchThenKey)
{
    const CachedRegKeySearch plain{L"z", {L"a"}, false, false};
    const CachedRegKeySearch complete{L"a", {L"a"}, true, false};
    const CachedRegKeySearch other{L"a", {L"a"}, false, true};
    const CachedRegKeySearch otherData{L"z", {L"a", L""}, false, false};
    pass.cachedRegKeySearches = {other, complete, plain, plain, otherData};
    pass.PrepareCachedOperations();
    EXPECT_THAT(pass.cachedRegKeySearches, ElementsAre(plain, otherData, complete, other));
}

TEST_F(CachedListsTest, ToolsKeepTheirOrderAndLoseLaterRepetitions)
{
    const CachedTool b{L"b", false, false, false};
    const CachedTool a{L"a", false, false, false};
    const CachedTool waiting{L"b", true, false, false};
    pass.cachedTools = {b, a, b, waiting, a};
    pass.PrepareCachedOperations();
    EXPECT_THAT(pass.cachedTools, ElementsAre(b, a, waiting));
}

TEST_F(CachedListsTest, DllMethodsAreSortedByAppPathAndUniqueWithAllAttributes)
{
    const CachedDllMethod second{{{L"module", L"m"}}, L"C:\\b"};
    const CachedDllMethod first{{{L"module", L"m"}}, L"C:\\a"};
    const CachedDllMethod other{{{L"module", L"m"}, {L"os", L"x64"}}, L"C:\\a"};
    pass.cachedDllMethods = {second, first, first, other};
    pass.PrepareCachedOperations();
    EXPECT_THAT(pass.cachedDllMethods, ElementsAre(first, other, second));
}

TEST_F(CachedListsTest, StopsAreSortedByNameAndUniqueWithAllAttributes)
{
    const CachedDriverStop b{{{L"name", L"b"}}, L"b"};
    const CachedDriverStop a{{{L"name", L"a"}}, L"a"};
    const CachedDriverStop other{{{L"name", L"a"}, {L"op_code", L"disableandstop_driver"}}, L"a"};
    pass.cachedDriverStops = {b, a, a, other};
    pass.PrepareCachedOperations();
    EXPECT_THAT(pass.cachedDriverStops, ElementsAre(a, other, b));
}

} // namespace
} // namespace prodsweep
