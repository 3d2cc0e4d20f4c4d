#include "registry/reg_key_helper.h"

#include "common/path_join.h"
#include "registry/split_key_path.h"
#include "support/registry_faults.h"
#include "support/registry_fixture.h"
#include "support/used_recorder.h"

#include <gmock/gmock.h>

#include <algorithm>

namespace prodsweep {
namespace {

using test::RegistryFaults;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

class ExpansionTest : public test::RegistryFixture
{
protected:
    std::wstring Short(const std::wstring& relative) const { return L"HKCU\\" + box.Subkey(relative); }

    int ExpandKey(const std::wstring& relative, bool x32view = false)
    {
        return CRegKeyHelper::ExpandKey(Short(relative).c_str(), x32view, keys, values);
    }
    int ExpandValue(const std::wstring& value, bool x32view = false)
    {
        return CRegKeyHelper::ExpandValue(Short(L"key").c_str(), value.c_str(), x32view, values);
    }
    static WideStringList Paths(const UsedRegItemList& items)
    {
        WideStringList paths;
        paths.reserve(items.size());
        for (const UsedRegItem& item : items)
            paths.push_back(item.path);
        return paths;
    }

    UsedRegItemList keys;
    UsedRegItemList values;
};

class ExpandKeyTest : public ExpansionTest
{
protected:
    const char* const here = "CRegKeyHelper::ExpandKey";
};

TEST_F(ExpandKeyTest, TopStandsAsSpelledAndTheRestByTheLongHiveNameInPreOrder)
{
    box.AddText(L"key", L"value", L"data");
    box.AddText(L"key\\a", L"", L"default");
    box.AddText(L"key\\a\\b", L"deep", L"data");
    box.AddKey(L"key\\c");
    box.AddKey(L"key2");

    EXPECT_EQ(_ERROR_SUCCESS, ExpandKey(L"key"));

    EXPECT_THAT(Paths(keys),
                ElementsAre(Short(L"key"), box.Path(L"key\\a"), box.Path(L"key\\a\\b"), box.Path(L"key\\c")));
    EXPECT_THAT(Paths(values),
                ElementsAre(box.Path(L"key\\value"), box.Path(L"key\\a\\"), box.Path(L"key\\a\\b\\deep")));
    EXPECT_TRUE(log.HasNoneAt(LogError));
    EXPECT_TRUE(box.HasValue(L"key\\a\\b", L"deep"));
}

TEST_F(ExpandKeyTest, EntryIsTraced)
{
    box.AddKey(L"key");
    EXPECT_EQ(_ERROR_SUCCESS, ExpandKey(L"key"));
    EXPECT_TRUE(log.Has(LogTrace, here, L"->\"" + Short(L"key") + L"\""));
    EXPECT_TRUE(log.Has(LogTrace, here, L"\"HKEY_CURRENT_USER\" \\ \"" + box.Subkey(L"key") + L"\""));
}

TEST_F(ExpandKeyTest, ViewStandsInEachRecordAndListsAreAppendedTo)
{
    box.AddText(L"key\\sub", L"value", L"data");
    keys = {{L"before", false}};
    values = {{L"before", false}};
    EXPECT_EQ(_ERROR_SUCCESS, ExpandKey(L"key", true));
    ASSERT_EQ(3U, keys.size());
    ASSERT_EQ(2U, values.size());
    EXPECT_FALSE(keys[0].x32view);
    EXPECT_TRUE(keys[1].x32view);
    EXPECT_TRUE(keys[2].x32view);
    EXPECT_FALSE(values[0].x32view);
    EXPECT_TRUE(values[1].x32view);
}

TEST_F(ExpandKeyTest, MissingKeyIsNotFoundAndListedAllTheSame)
{
    EXPECT_EQ(_ERROR_NOT_FOUND, ExpandKey(L"missing"));
    EXPECT_THAT(Paths(keys), ElementsAre(Short(L"missing")));
    EXPECT_THAT(values, IsEmpty());
    EXPECT_TRUE(log.Has(LogError, here, L"RegOpenKeyEx \"" + box.Subkey(L"missing") + L"\" failed 0x2"));
}

TEST_F(ExpandKeyTest, PathWithoutAKnownHiveIsNotFoundAndNotListed)
{
    for (const wchar_t* const path : {L"", L"\\", L"HKCU", L"hkcu\\Software", L"Software\\X"})
        EXPECT_EQ(_ERROR_NOT_FOUND, CRegKeyHelper::ExpandKey(path, false, keys, values));
    EXPECT_THAT(keys, IsEmpty());
}

TEST_F(ExpandKeyTest, HiveWithoutANameIsRefused)
{
    EXPECT_EQ(_ERROR_FAILED,
              CRegKeyHelper::ExpandKey(reinterpret_cast<HKEY>(0x1234ABCDULL), L"Some\\Key", false, keys, values));
    EXPECT_TRUE(log.Has(LogWarning, here, L"can't expand unknown hkey=0x1234abcd, subkey=\"Some\\Key\""));
    EXPECT_THAT(keys, IsEmpty());
}

TEST_F(ExpandKeyTest, InnerFormListsNoTop)
{
    const CSplitKeyPath tablesAreFilled;
    box.AddText(L"key\\sub", L"value", L"data");
    EXPECT_EQ(_ERROR_SUCCESS, CRegKeyHelper::ExpandKey(HKEY_CURRENT_USER, box.Subkey(L"key"), false, keys, values));
    EXPECT_THAT(Paths(keys), ElementsAre(box.Path(L"key\\sub")));
    EXPECT_THAT(Paths(values), ElementsAre(box.Path(L"key\\sub\\value")));
}

TEST_F(ExpandKeyTest, ChildThatCannotBeOpenedIsListedToldAndStepsAside)
{
    for (const wchar_t* const name : {L"key\\a", L"key\\b", L"key\\c"})
        box.AddText(name, L"value", L"data");
    RegistryFaults faults;
    faults.RefuseOpen(box.Subkey(L"key\\b"), ERROR_ACCESS_DENIED);
    EXPECT_EQ(_ERROR_SUCCESS, ExpandKey(L"key"));
    EXPECT_EQ(4U, keys.size());
    EXPECT_THAT(Paths(values), ElementsAre(box.Path(L"key\\a\\value"), box.Path(L"key\\c\\value")));
    EXPECT_TRUE(
        log.Has(LogWarning, here,
                L"ExpandKey \"HKEY_CURRENT_USER\" \\ \"" + box.Subkey(L"key\\b") + L"\" failed _ERROR_NOT_FOUND"));
}

TEST_F(ExpandKeyTest, FailedListingsAreToldAndWhatTheyHoldIsListed)
{
    for (const wchar_t* const name : {L"a", L"b", L"c"})
    {
        box.AddText(L"key", name, L"data");
        box.AddKey(std::wstring(L"key\\") + name);
    }
    RegistryFaults faults;
    faults.RefuseValueAt(2, ERROR_KEY_DELETED);
    faults.RefuseSubkeyAt(1, ERROR_KEY_DELETED);
    EXPECT_EQ(_ERROR_SUCCESS, ExpandKey(L"key"));
    EXPECT_EQ(2U, values.size());
    EXPECT_EQ(2U, keys.size());
    EXPECT_TRUE(log.Has(LogError, here, L"GetValues failed _ERROR_UNKNOWN"));
    EXPECT_TRUE(log.Has(LogError, here, L"GetSubKeys failed _ERROR_UNKNOWN"));
}

TEST_F(ExpandKeyTest, GrownKeyIsListedWhole)
{
    const std::wstring longKey(255, L'k');
    const std::wstring longValue(16383, L'n');
    box.AddText(L"key\\" + longKey, longValue, L"data");
    RegistryFaults faults;
    faults.HideMaxima();
    EXPECT_EQ(_ERROR_SUCCESS, ExpandKey(L"key"));
    EXPECT_THAT(Paths(keys), ElementsAre(Short(L"key"), box.Path(L"key\\" + longKey)));
    EXPECT_THAT(Paths(values), ElementsAre(box.Path(L"key\\" + longKey + L"\\" + longValue)));
}

TEST_F(ExpandKeyTest, ManyEntriesAndSixtyLevelsAreListed)
{
    for (int i = 0; i < 5000; ++i)
        box.AddText(L"key", std::to_wstring(i), L"data");
    for (int i = 0; i < 2000; ++i)
        box.AddKey(L"key\\" + std::to_wstring(i));
    std::wstring deep = L"key";
    for (int i = 0; i < 60; ++i)
        deep += L"\\deep";
    box.AddText(deep, L"bottom", L"data");
    log.Pause();
    EXPECT_EQ(_ERROR_SUCCESS, ExpandKey(L"key"));
    EXPECT_EQ(5001U, values.size());
    EXPECT_EQ(1U + 2000U + 60U, keys.size());
    EXPECT_EQ(box.Path(deep + L"\\bottom"), values.back().path);
}

// A separator at the end is the one case where the two do not meet: the expansion always puts one
// before a child's name, the deletion only where there is none.
TEST_F(ExpandKeyTest, SeparatorAtTheEndIsDoubledBelowUnlikeInTheDeletion)
{
    box.AddText(L"key\\sub", L"value", L"data");
    EXPECT_EQ(_ERROR_SUCCESS, ExpandKey(L"key\\"));
    EXPECT_THAT(Paths(keys), ElementsAre(Short(L"key\\"), box.Path(L"key\\\\sub")));
}

// What one product's descriptor expands to protects exactly that from the deletion by another's.
TEST_F(ExpandKeyTest, DeletionAsksInTheVeryTextsOfTheExpansion)
{
    box.AddText(L"key", L"value", L"data");
    box.AddText(L"key", L"", L"default");
    box.AddText(L"key\\sub\\subsub", L"value", L"data");
    EXPECT_EQ(_ERROR_SUCCESS, ExpandKey(L"key"));

    test::UsedRecorder used;
    EXPECT_EQ(_ERROR_SUCCESS, CRegKeyHelper::DeleteKey(Short(L"key").c_str(), false, &used));

    WideStringList asked;
    for (const std::wstring& question : used.Asked())
    {
        const std::size_t bar = question.find(L" | ");
        std::wstring path = question.substr(0, bar);
        path.erase(0, path.find(L' ') + 1);
        asked.push_back(bar == std::wstring::npos ? path : PathJoin(path, question.substr(bar + 3)));
    }
    // By the long name the top is asked about too, but not listed.
    asked.erase(std::find(asked.begin(), asked.end(), box.Path(L"key")));
    WideStringList listed = Paths(keys);
    const WideStringList valuePaths = Paths(values);
    listed.insert(listed.end(), valuePaths.begin(), valuePaths.end());
    EXPECT_THAT(asked, testing::UnorderedElementsAreArray(listed));
}

class ExpandValueTest : public ExpansionTest
{
protected:
    const char* const here = "CRegKeyHelper::ExpandValue";
};

TEST_F(ExpandValueTest, PlainNameIsListedWhetherOrNotItExists)
{
    box.AddText(L"key", L"value", L"data");
    EXPECT_EQ(_ERROR_SUCCESS, ExpandValue(L"value"));
    EXPECT_EQ(_ERROR_SUCCESS, ExpandValue(L"missing", true));
    EXPECT_EQ(_ERROR_SUCCESS, ExpandValue(L""));
    EXPECT_THAT(Paths(values), ElementsAre(box.Path(L"key\\value"), box.Path(L"key\\missing"), box.Path(L"key\\")));
    EXPECT_FALSE(values[0].x32view);
    EXPECT_TRUE(values[1].x32view);
    EXPECT_TRUE(log.HasNoneAt(LogError));
}

TEST_F(ExpandValueTest, EntryIsTraced)
{
    box.AddKey(L"key");
    EXPECT_EQ(_ERROR_SUCCESS, ExpandValue(L"value"));
    EXPECT_TRUE(log.Has(LogTrace, here, L"->\"" + Short(L"key") + L"\" \"value\""));
    EXPECT_TRUE(log.Has(LogTrace, here, L"\"HKEY_CURRENT_USER\" \\ \"" + box.Subkey(L"key") + L"\""));
}

TEST_F(ExpandValueTest, PlainNameOfAMissingKeyIsNotFound)
{
    EXPECT_EQ(_ERROR_NOT_FOUND, ExpandValue(L"value"));
    EXPECT_THAT(values, IsEmpty());
    EXPECT_TRUE(
        log.Has(LogError, here, L"RegOpenKeyEx \"HKEY_CURRENT_USER\" \\ \"" + box.Subkey(L"key") + L"\" failed 0x2"));
}

TEST_F(ExpandValueTest, PatternListsWhatADeletionTakesAndACheckMayNotFind)
{
    for (const wchar_t* const name : {L"abc", L"abcx", L"xabc", L"xabcx", L"other"})
        box.AddText(L"key", name, L"data");
    EXPECT_EQ(_ERROR_SUCCESS, ExpandValue(L"*abc*"));
    EXPECT_THAT(Paths(values), UnorderedElementsAre(box.Path(L"key\\abc"), box.Path(L"key\\abcx"),
                                                    box.Path(L"key\\xabc"), box.Path(L"key\\xabcx")));
    values.clear();
    EXPECT_EQ(_ERROR_SUCCESS, ExpandValue(L"*"));
    EXPECT_EQ(5U, values.size());
    values.clear();
    EXPECT_EQ(_ERROR_SUCCESS, ExpandValue(L"*abc"));
    EXPECT_THAT(Paths(values), UnorderedElementsAre(box.Path(L"key\\abc"), box.Path(L"key\\xabc")));
}

TEST_F(ExpandValueTest, PatternThatMatchesNothingSucceeds)
{
    box.AddText(L"key", L"value", L"data");
    EXPECT_EQ(_ERROR_SUCCESS, ExpandValue(L"nothing*"));
    EXPECT_THAT(values, IsEmpty());
}

TEST_F(ExpandValueTest, StarOnlyInsideIsRefusedInTheWordsOfTheDeletion)
{
    box.AddText(L"key", L"ab*c", L"data");
    EXPECT_EQ(_ERROR_FAILED, ExpandValue(L"ab*c"));
    EXPECT_THAT(values, IsEmpty());
    EXPECT_TRUE(log.Has(LogError, here, L"can't delete value \"ab*c\""));
}

TEST_F(ExpandValueTest, FailedListingIsTheResultAndWhatItHoldsIsListed)
{
    for (const wchar_t* const name : {L"a1", L"a2", L"a3"})
        box.AddText(L"key", name, L"data");
    RegistryFaults faults;
    faults.RefuseValueAt(2, ERROR_KEY_DELETED);
    EXPECT_EQ(_ERROR_UNKNOWN, ExpandValue(L"a*"));
    EXPECT_EQ(2U, values.size());
    EXPECT_TRUE(log.Has(LogError, here, L"GetValues failed _ERROR_UNKNOWN"));
}

TEST_F(ExpandValueTest, PathWithoutAKnownHiveIsNotFound)
{
    for (const wchar_t* const path : {L"", L"HKCU", L"hkcu\\Software"})
        EXPECT_EQ(_ERROR_NOT_FOUND, CRegKeyHelper::ExpandValue(path, L"value", false, values));
    EXPECT_THAT(values, IsEmpty());
}

TEST_F(ExpandValueTest, HiveWithoutANameIsRefused)
{
    EXPECT_EQ(_ERROR_FAILED,
              CRegKeyHelper::ExpandValue(reinterpret_cast<HKEY>(0x1234ABCDULL), L"Some\\Key", L"value", false, values));
    EXPECT_TRUE(log.Has(LogWarning, here, L"can't expand unknown hkey=0x1234abcd, subkey=\"Some\\Key\""));
}

TEST_F(ExpandValueTest, SeparatorAtTheEndIsNotDoubledBeforeAValue)
{
    box.AddText(L"key", L"value", L"data");
    EXPECT_EQ(_ERROR_SUCCESS, CRegKeyHelper::ExpandValue(Short(L"key\\").c_str(), L"value", false, values));
    EXPECT_THAT(Paths(values), ElementsAre(box.Path(L"key\\value")));
}

} // namespace
} // namespace prodsweep
