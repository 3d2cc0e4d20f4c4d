#include "registry/reg_key_helper.h"

#include "registry/split_key_path.h"
#include "support/registry_faults.h"
#include "support/registry_fixture.h"
#include "support/used_recorder.h"

#include <gmock/gmock.h>

namespace prodsweep {
namespace {

using test::RegistryFaults;
using test::UsedRecorder;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

class ValueDeletionTest : public test::RegistryFixture
{
protected:
    std::wstring Short(const std::wstring& relative) const { return L"HKCU\\" + box.Subkey(relative); }

    int Delete(const std::wstring& value, IUsed* answerer = nullptr)
    {
        return CRegKeyHelper::DeleteValue(Short(L"key").c_str(), value.c_str(), false, answerer);
    }
    int DeleteInner(const std::wstring& value, bool* inUse)
    {
        const CSplitKeyPath tablesAreFilled;
        return CRegKeyHelper::DeleteValue(HKEY_CURRENT_USER, box.Subkey(L"key"), value, false, &used, inUse);
    }
    void AddValues(const WideStringList& names)
    {
        for (const std::wstring& name : names)
            box.AddText(L"key", name, L"data");
    }
    // Those of these values that are there.
    WideStringList Left(const WideStringList& names) const
    {
        WideStringList left;
        for (const std::wstring& name : names)
        {
            if (box.HasValue(L"key", name))
                left.push_back(name);
        }
        return left;
    }
    std::wstring Question(const std::wstring& value) const { return L"value " + box.Path(L"key") + L" | " + value; }

    const char* const here = "CRegKeyHelper::DeleteValue";
    UsedRecorder used;
};

TEST_F(ValueDeletionTest, PlainNameTakesThatValueOnly)
{
    AddValues({L"value", L"value2", L"valu"});
    box.AddText(L"key\\sub", L"value", L"data");

    EXPECT_EQ(_ERROR_SUCCESS, Delete(L"value"));

    EXPECT_THAT(Left({L"value", L"value2", L"valu"}), ElementsAre(L"value2", L"valu"));
    EXPECT_TRUE(box.HasValue(L"key\\sub", L"value"));
    EXPECT_TRUE(log.HasNoneAt(LogError));
}

TEST_F(ValueDeletionTest, PlainNameIgnoresCaseAsTheRegistryDoes)
{
    AddValues({L"Value"});
    EXPECT_EQ(_ERROR_SUCCESS, Delete(L"vALUE"));
    EXPECT_FALSE(box.HasValue(L"key", L"Value"));
}

TEST_F(ValueDeletionTest, EntryIsTraced)
{
    AddValues({L"value"});
    EXPECT_EQ(_ERROR_SUCCESS, Delete(L"value"));
    EXPECT_TRUE(log.Has(LogTrace, here, L"->\"" + Short(L"key") + L"\" \"value\""));
    EXPECT_TRUE(log.Has(LogTrace, here, L"\"HKEY_CURRENT_USER\" \\ \"" + box.Subkey(L"key") + L"\""));
}

TEST_F(ValueDeletionTest, EmptyNameIsTheDefaultValue)
{
    AddValues({L"", L"value"});
    EXPECT_EQ(_ERROR_SUCCESS, Delete(L""));
    EXPECT_THAT(Left({L"", L"value"}), ElementsAre(L"value"));
}

TEST_F(ValueDeletionTest, MissingValueIsNotFoundWithoutALine)
{
    AddValues({L"value"});
    EXPECT_EQ(_ERROR_NOT_FOUND, Delete(L"missing"));
    EXPECT_EQ(_ERROR_NOT_FOUND, Delete(L""));
    EXPECT_TRUE(log.HasNoneAt(LogError));
    EXPECT_TRUE(log.HasNoneAt(LogWarning));
}

TEST_F(ValueDeletionTest, ErrorOfThePlatformDecidesBetweenNotFoundAndFailed)
{
    struct
    {
        LSTATUS error;
        int result;
    } constexpr rows[] = {{ERROR_FILE_NOT_FOUND, _ERROR_NOT_FOUND}, {ERROR_PATH_NOT_FOUND, _ERROR_NOT_FOUND},
                          {ERROR_INVALID_NAME, _ERROR_NOT_FOUND},   {ERROR_ACCESS_DENIED, _ERROR_FAILED},
                          {ERROR_BAD_PATHNAME, _ERROR_FAILED},      {ERROR_KEY_DELETED, _ERROR_FAILED}};
    AddValues({L"value"});
    for (const auto& row : rows)
    {
        RegistryFaults faults;
        faults.RefuseValueDeletion(L"value", row.error);
        EXPECT_EQ(row.result, Delete(L"value")) << row.error;
    }
    EXPECT_TRUE(log.HasNoneAt(LogError));
    EXPECT_TRUE(box.HasValue(L"key", L"value"));
}

TEST_F(ValueDeletionTest, MissingKeyIsNotFound)
{
    EXPECT_EQ(_ERROR_NOT_FOUND, Delete(L"value", &used));
    EXPECT_TRUE(
        log.Has(LogError, here, L"RegOpenKeyEx \"HKEY_CURRENT_USER\" \\ \"" + box.Subkey(L"key") + L"\" failed 0x2"));
    EXPECT_THAT(used.Asked(), IsEmpty());
}

TEST_F(ValueDeletionTest, KeyThatCannotBeOpenedCountsAsNotFound)
{
    AddValues({L"value"});
    RegistryFaults faults;
    faults.RefuseOpen(box.Subkey(L"key"), ERROR_ACCESS_DENIED);
    EXPECT_EQ(_ERROR_NOT_FOUND, Delete(L"value"));
    EXPECT_TRUE(
        log.Has(LogError, here, L"RegOpenKeyEx \"HKEY_CURRENT_USER\" \\ \"" + box.Subkey(L"key") + L"\" failed 0x5"));
}

TEST_F(ValueDeletionTest, PathWithoutAKnownHiveIsNotFound)
{
    for (const wchar_t* const path : {L"", L"HKCU", L"hkcu\\Software", L"Software\\X"})
        EXPECT_EQ(_ERROR_NOT_FOUND, CRegKeyHelper::DeleteValue(path, L"value", false, &used));
    EXPECT_THAT(used.Asked(), IsEmpty());
}

TEST_F(ValueDeletionTest, HiveWithoutANameIsRefused)
{
    EXPECT_EQ(_ERROR_FAILED, CRegKeyHelper::DeleteValue(reinterpret_cast<HKEY>(0x1234ABCDULL), L"Some\\Key", L"value",
                                                        false, &used, nullptr));
    EXPECT_TRUE(log.Has(LogWarning, here, L"can't delete unknown hkey=0x1234abcd, subkey=\"Some\\Key\""));
}

// Patterns.

struct ShapeCase
{
    const char* name;
    const wchar_t* pattern;
    WideStringList left;
};

const WideStringList shapeNames = {L"", L"abc", L"abcx", L"xabc", L"xabcx", L"abcxabc", L"a*c"};

class ValueShapeTest : public ValueDeletionTest, public testing::WithParamInterface<ShapeCase>
{};

TEST_P(ValueShapeTest, LeavesWhatItDoesNotMatch)
{
    AddValues(shapeNames);
    EXPECT_EQ(_ERROR_SUCCESS, Delete(GetParam().pattern));
    EXPECT_THAT(Left(shapeNames), testing::ElementsAreArray(GetParam().left));
    EXPECT_TRUE(log.HasNoneAt(LogError));
}

const ShapeCase shapeCases[] = {
    {"Prefix", L"abc*", {L"", L"xabc", L"xabcx", L"a*c"}},
    {"Suffix", L"*abc", {L"", L"abcx", L"xabcx", L"abcxabc", L"a*c"}},
    {"Inner", L"*abc*", {L"", L"a*c"}},
    {"OneStar", L"*", {}},
    {"TwoStars", L"**", {}},
    {"InnerStar", L"*a*c*", {L"", L"abc", L"abcx", L"xabc", L"xabcx", L"abcxabc"}},
    {"NothingMatches", L"nothing*", shapeNames},
};
INSTANTIATE_TEST_SUITE_P(Shapes, ValueShapeTest, testing::ValuesIn(shapeCases),
                         [](const auto& row) { return std::string(row.param.name); });

TEST_F(ValueDeletionTest, PatternMindsCase)
{
    AddValues({L"ABCx"});
    EXPECT_EQ(_ERROR_SUCCESS, Delete(L"abc*"));
    EXPECT_TRUE(box.HasValue(L"key", L"ABCx"));
}

TEST_F(ValueDeletionTest, PatternLeavesSubkeysAlone)
{
    box.AddText(L"key\\abc", L"abc", L"data");
    AddValues({L"abc"});
    EXPECT_EQ(_ERROR_SUCCESS, Delete(L"abc*"));
    EXPECT_FALSE(box.HasValue(L"key", L"abc"));
    EXPECT_TRUE(box.HasValue(L"key\\abc", L"abc"));
}

TEST_F(ValueDeletionTest, EachMatchIsTraced)
{
    AddValues({L"abc1", L"abc2", L"other"});
    EXPECT_EQ(_ERROR_SUCCESS, Delete(L"abc*"));
    EXPECT_TRUE(log.Has(LogTrace, here, L"\t\tDelete \"abc1\""));
    EXPECT_TRUE(log.Has(LogTrace, here, L"\t\tDelete \"abc2\""));
    EXPECT_EQ(0, log.Count(LogTrace, here, L"\t\tDelete \"other\""));
}

TEST_F(ValueDeletionTest, StarOnlyInsideIsRefused)
{
    AddValues({L"abc", L"ab*c"});
    EXPECT_EQ(_ERROR_FAILED, Delete(L"ab*c"));
    EXPECT_TRUE(log.Has(LogError, here, L"can't delete value \"ab*c\""));
    EXPECT_THAT(Left({L"abc", L"ab*c"}), ElementsAre(L"abc", L"ab*c"));
}

TEST_F(ValueDeletionTest, PatternInAnEmptyKeySucceeds)
{
    box.AddKey(L"key");
    EXPECT_EQ(_ERROR_SUCCESS, Delete(L"*"));
}

TEST_F(ValueDeletionTest, ValueThatCannotBeDeletedFailsAndStopsNothing)
{
    AddValues({L"a1", L"a2", L"a3"});
    {
        RegistryFaults faults;
        faults.RefuseValueDeletion(L"a2", ERROR_FILE_NOT_FOUND);
        EXPECT_EQ(_ERROR_FAILED, Delete(L"a*"));
    }
    EXPECT_TRUE(log.Has(LogError, here, L"RegDeleteValue \"a2\" failed 0x2"));
    EXPECT_THAT(Left({L"a1", L"a2", L"a3"}), ElementsAre(L"a2"));
}

TEST_F(ValueDeletionTest, FailedListingIsTheResultAndWhatItHoldsIsStillDeleted)
{
    AddValues({L"a1", L"a2", L"a3"});
    {
        RegistryFaults faults;
        faults.RefuseValueAt(2, ERROR_KEY_DELETED);
        EXPECT_EQ(_ERROR_UNKNOWN, Delete(L"a*"));
    }
    EXPECT_TRUE(log.Has(LogError, here, L"GetValues failed _ERROR_UNKNOWN"));
    EXPECT_EQ(1U, Left({L"a1", L"a2", L"a3"}).size());
}

TEST_F(ValueDeletionTest, FailedDeletionReplacesTheResultOfTheListing)
{
    AddValues({L"a1", L"a2"});
    RegistryFaults faults;
    faults.RefuseValueAt(1, ERROR_KEY_DELETED);
    faults.RefuseValueDeletion(L"a1", ERROR_ACCESS_DENIED);
    faults.RefuseValueDeletion(L"a2", ERROR_ACCESS_DENIED);
    EXPECT_EQ(_ERROR_FAILED, Delete(L"a*"));
}

TEST_F(ValueDeletionTest, GrownKeyIsSearchedWhole)
{
    AddValues({L"a", L"a" + std::wstring(16382, L'n')});
    RegistryFaults faults;
    faults.HideMaxima();
    EXPECT_EQ(_ERROR_SUCCESS, Delete(L"a*"));
    EXPECT_EQ(1, faults.Count(L"delete value a"));
    EXPECT_EQ(1, faults.Count(L"delete value a" + std::wstring(16382, L'n')));
}

TEST_F(ValueDeletionTest, LongestNameGoesPlainAndByPattern)
{
    const std::wstring longest(16383, L'n');
    AddValues({longest});
    EXPECT_EQ(_ERROR_SUCCESS, Delete(longest));
    EXPECT_FALSE(box.HasValue(L"key", longest));
    AddValues({longest});
    EXPECT_EQ(_ERROR_SUCCESS, Delete(L"*" + longest));
    EXPECT_FALSE(box.HasValue(L"key", longest));
}

TEST_F(ValueDeletionTest, ManyValuesGoByPattern)
{
    for (int i = 0; i < 5000; ++i)
        box.AddText(L"key", (i % 2 == 0 ? L"even" : L"odd") + std::to_wstring(i), L"data");
    log.Pause();
    EXPECT_EQ(_ERROR_SUCCESS, Delete(L"even*"));
    const RegistryFaults faults;
    EXPECT_EQ(_ERROR_SUCCESS, Delete(L"*"));
    EXPECT_EQ(2500, std::count_if(faults.Calls().begin(), faults.Calls().end(),
                                  [](const std::wstring& call) { return call.starts_with(L"delete value odd"); }));
}

TEST_F(ValueDeletionTest, PlainNameTakesTwoCalls)
{
    AddValues({L"value"});
    const RegistryFaults faults;
    EXPECT_EQ(_ERROR_SUCCESS, Delete(L"value"));
    EXPECT_THAT(faults.Calls(), ElementsAre(L"open " + box.Subkey(L"key") + L" 0xf003f", L"delete value value"));
}

TEST_F(ValueDeletionTest, PatternReadsAllBeforeItDeletes)
{
    AddValues({L"a1", L"a2"});
    const RegistryFaults faults;
    EXPECT_EQ(_ERROR_SUCCESS, Delete(L"a*"));
    EXPECT_THAT(faults.Calls(),
                ElementsAre(L"open " + box.Subkey(L"key") + L" 0xf003f", L"query", L"value 0 name=3", L"value 1 name=3",
                            L"value 2 name=3", L"delete value a1", L"delete value a2"));
}

// What is in use.

TEST_F(ValueDeletionTest, PlainNameIsAskedAboutByTheLongHiveNameOnly)
{
    AddValues({L"value"});
    EXPECT_EQ(_ERROR_SUCCESS, Delete(L"value", &used));
    EXPECT_THAT(used.Asked(), ElementsAre(Question(L"value")));
}

TEST_F(ValueDeletionTest, PlainNameInUseStays)
{
    AddValues({L"value"});
    used.Claim(Question(L"value"));
    EXPECT_EQ(_ERROR_SUCCESS, Delete(L"value", &used));
    EXPECT_TRUE(box.HasValue(L"key", L"value"));
    EXPECT_EQ(1, log.Count(LogTrace, here, L"in use"));
}

TEST_F(ValueDeletionTest, PlainNameIsAskedAboutEvenIfItDoesNotExist)
{
    box.AddKey(L"key");
    EXPECT_EQ(_ERROR_NOT_FOUND, Delete(L"missing", &used));
    EXPECT_THAT(used.Asked(), ElementsAre(Question(L"missing")));
}

TEST_F(ValueDeletionTest, PatternAsksAboutEachMatchAndNothingElse)
{
    AddValues({L"abc1", L"abc2", L"other"});
    used.Claim(Question(L"abc1"));
    EXPECT_EQ(_ERROR_SUCCESS, Delete(L"abc*", &used));
    EXPECT_THAT(used.Asked(), UnorderedElementsAre(Question(L"abc1"), Question(L"abc2")));
    EXPECT_THAT(Left({L"abc1", L"abc2", L"other"}), ElementsAre(L"abc1", L"other"));
    EXPECT_TRUE(log.Has(LogTrace, here, L"\t\tDelete \"abc1\""));
    EXPECT_EQ(1, log.Count(LogTrace, here, L"in use"));
}

TEST_F(ValueDeletionTest, ViewReachesTheQuestions)
{
    AddValues({L"value"});
    used.Claim(Question(L"value") + L" (32)");
    EXPECT_EQ(_ERROR_SUCCESS, CRegKeyHelper::DeleteValue(Short(L"key").c_str(), L"value", true, &used));
    EXPECT_EQ(_ERROR_SUCCESS, CRegKeyHelper::DeleteValue(Short(L"key").c_str(), L"val*", true, &used));
    EXPECT_TRUE(box.HasValue(L"key", L"value"));
    EXPECT_EQ(_ERROR_SUCCESS, CRegKeyHelper::DeleteValue(Short(L"key").c_str(), L"val*", false, &used));
    EXPECT_FALSE(box.HasValue(L"key", L"value"));
}

TEST_F(ValueDeletionTest, KeyInUseDoesNotProtectItsValues)
{
    AddValues({L"value"});
    used.Claim(L"key " + box.Path(L"key"));
    used.Claim(L"key " + Short(L"key"));
    EXPECT_EQ(_ERROR_SUCCESS, Delete(L"value", &used));
    EXPECT_FALSE(box.HasValue(L"key", L"value"));
}

TEST_F(ValueDeletionTest, FlagTellsWhetherAnythingStayed)
{
    AddValues({L"abc", L"abcd"});
    used.Claim(Question(L"abc"));
    bool inUse = false;
    EXPECT_EQ(_ERROR_SUCCESS, DeleteInner(L"abc", &inUse));
    EXPECT_TRUE(inUse);
    inUse = false;
    EXPECT_EQ(_ERROR_SUCCESS, DeleteInner(L"a*", &inUse));
    EXPECT_TRUE(inUse);
    EXPECT_EQ(_ERROR_NOT_FOUND, DeleteInner(L"missing", &inUse));
    EXPECT_FALSE(inUse);
    inUse = true;
    EXPECT_EQ(_ERROR_SUCCESS, DeleteInner(L"nothing*", &inUse));
    EXPECT_FALSE(inUse);
}

TEST_F(ValueDeletionTest, FlagStaysAsItIsWhenTheKeyCannotBeOpened)
{
    bool inUse = true;
    EXPECT_EQ(_ERROR_NOT_FOUND, DeleteInner(L"value", &inUse));
    EXPECT_TRUE(inUse);
}

TEST_F(ValueDeletionTest, WhatIsInUseStaysWithoutAFlagToTellIt)
{
    AddValues({L"abc"});
    used.Claim(Question(L"abc"));
    EXPECT_EQ(_ERROR_SUCCESS, DeleteInner(L"abc", nullptr));
    EXPECT_EQ(_ERROR_SUCCESS, DeleteInner(L"a*", nullptr));
    EXPECT_TRUE(box.HasValue(L"key", L"abc"));
}

} // namespace
} // namespace prodsweep
