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
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;

const WideStringList needle = {L"needle"};

class KeySearchTest : public test::RegistryFixture
{
protected:
    std::wstring Short(const std::wstring& relative) const { return L"HKCU\\" + box.Subkey(relative); }

    int Delete(const WideStringList& search = needle, bool complete = false, IUsed* answerer = nullptr)
    {
        return CRegKeyHelper::DelKeySearch(Short(L"key").c_str(), search, complete, false, answerer);
    }
    int Check(const WideStringList& search = needle, bool complete = false)
    {
        return CRegKeyHelper::CheckKeySearch(Short(L"key").c_str(), search, complete, false);
    }
    int Expand(const WideStringList& search = needle, bool complete = false)
    {
        keys.clear();
        values.clear();
        return CRegKeyHelper::ExpandKeySearch(Short(L"key").c_str(), search, complete, false, keys, values);
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

// What matches. The check can't be asked: it succeeds with or without a match.

struct MatchCase
{
    const char* name;
    DWORD type;
    std::wstring data; // without a zero of its own
    WideStringList search;
    bool inPart; // matches when a part is enough
    bool whole;  // matches when the whole data is compared
};

class MatchTest : public KeySearchTest, public testing::WithParamInterface<MatchCase>
{
protected:
    MatchTest()
    {
        const std::wstring padded = GetParam().data + L"####";
        box.AddData(L"key", L"value", GetParam().type, padded.data(), GetParam().data.size() * sizeof(wchar_t));
    }
};

TEST_P(MatchTest, DecidesWhatIsListed)
{
    EXPECT_EQ(_ERROR_SUCCESS, Expand(GetParam().search, false));
    EXPECT_EQ(GetParam().inPart ? 1U : 0U, keys.size());
    EXPECT_EQ(_ERROR_SUCCESS, Expand(GetParam().search, true));
    EXPECT_EQ(GetParam().whole ? 1U : 0U, keys.size());
}

TEST_P(MatchTest, DecidesWhatIsDeletedInPart)
{
    EXPECT_EQ(_ERROR_SUCCESS, Delete(GetParam().search, false));
    EXPECT_EQ(!GetParam().inPart, box.HasKey(L"key"));
}

TEST_P(MatchTest, DecidesWhatIsDeletedAsAWhole)
{
    EXPECT_EQ(_ERROR_SUCCESS, Delete(GetParam().search, true));
    EXPECT_EQ(!GetParam().whole, box.HasKey(L"key"));
}

const std::wstring withZeroInside(L"first\0needle", 12);
const std::wstring needleAndZero(L"needle\0rest", 11);

const MatchCase matchCases[] = {
    {"WholeText", REG_SZ, L"needle", needle, true, true},
    {"PartOfAText", REG_SZ, L"a needle here", needle, true, false},
    {"ExpandableText", REG_EXPAND_SZ, L"needle", needle, true, true},
    {"OtherText", REG_SZ, L"nedle", needle, false, false},
    {"AnotherCase", REG_SZ, L"Needle", needle, false, false},
    {"LaterSearchText", REG_SZ, L"needle", {L"x", L"y", L"needle"}, true, true},
    {"SearchTextLongerThanTheData", REG_SZ, L"need", needle, false, false},
    {"SeveralTexts", REG_MULTI_SZ, L"needle", needle, false, false},
    {"Number", REG_DWORD, L"ne", {L"ne"}, false, false},
    {"Bytes", REG_BINARY, L"needle", needle, false, false},
    {"NoType", REG_NONE, L"needle", needle, false, false},
    {"BehindAZero", REG_SZ, withZeroInside, needle, false, false},
    {"WholeUpToTheZero", REG_SZ, needleAndZero, needle, true, true},
    {"NoSearchText", REG_SZ, L"needle", {}, false, false},
    {"EmptySearchText", REG_SZ, L"anything", {L""}, true, false},
    {"EmptySearchTextInEmptyData", REG_SZ, L"", {L""}, true, true},
    {"EmptySearchTextInANumber", REG_DWORD, L"ne", {L""}, false, false},
    {"StarIsNoPattern", REG_SZ, L"needle", {L"need*"}, false, false},
};
INSTANTIATE_TEST_SUITE_P(Data, MatchTest, testing::ValuesIn(matchCases),
                         [](const auto& row) { return std::string(row.param.name); });

TEST_F(KeySearchTest, NamesOfValuesPlayNoPart)
{
    box.AddText(L"key", L"needle", L"data");
    box.AddText(L"key\\needle", L"value", L"data");
    EXPECT_EQ(_ERROR_SUCCESS, Expand());
    EXPECT_THAT(keys, IsEmpty());
    EXPECT_EQ(_ERROR_SUCCESS, Delete());
    EXPECT_TRUE(box.HasKey(L"key\\needle"));
}

// Deletion.

class DelKeySearchTest : public KeySearchTest
{
protected:
    const char* const here = "CRegKeyHelper::DelKeySearch";
    UsedRecorder used;
};

TEST_F(DelKeySearchTest, EachKeyWithAMatchGoesWholeAndTheOthersStay)
{
    box.AddText(L"key\\a\\hit", L"value", L"a needle");
    box.AddText(L"key\\a\\hit\\below", L"value", L"data");
    box.AddText(L"key\\a\\other", L"value", L"data");
    box.AddText(L"key\\hit too", L"", L"needle");
    box.AddText(L"key2", L"value", L"needle");

    EXPECT_EQ(_ERROR_SUCCESS, Delete());

    EXPECT_FALSE(box.HasKey(L"key\\a\\hit"));
    EXPECT_FALSE(box.HasKey(L"key\\hit too"));
    EXPECT_TRUE(box.HasValue(L"key\\a\\other", L"value"));
    EXPECT_TRUE(box.HasKey(L"key2"));
    EXPECT_TRUE(log.HasNoneAt(LogError));
}

TEST_F(DelKeySearchTest, EntryAndExitAreTraced)
{
    box.AddText(L"key\\hit", L"value", L"needle");
    EXPECT_EQ(_ERROR_SUCCESS, Delete());
    EXPECT_TRUE(log.Has(LogTrace, here, L"path = \"" + Short(L"key") + L"\""));
    EXPECT_TRUE(log.Has(LogTrace, here, L"DelKeySearch \"HKEY_CURRENT_USER\" \\ \"" + box.Subkey(L"key\\hit") + L"\""));
    EXPECT_TRUE(log.Has(LogTrace, here, L"path = \"" + Short(L"key") + L"\", err = _ERROR_SUCCESS"));
}

TEST_F(DelKeySearchTest, PathWithoutAKnownHiveIsNotFoundAndTraced)
{
    EXPECT_EQ(_ERROR_NOT_FOUND, CRegKeyHelper::DelKeySearch(L"hkcu\\Software", needle, false, false, nullptr));
    EXPECT_TRUE(log.Has(LogTrace, here, L"path = \"hkcu\\Software\", err = _ERROR_NOT_FOUND"));
    EXPECT_EQ(_ERROR_NOT_FOUND, CRegKeyHelper::DelKeySearch(L"", needle, false, false, nullptr));
}

TEST_F(DelKeySearchTest, HiveWithoutANameIsRefused)
{
    EXPECT_EQ(_ERROR_FAILED, CRegKeyHelper::DelKeySearch(reinterpret_cast<HKEY>(0x1234ABCDULL), L"Some\\Key", needle,
                                                         false, false, nullptr, nullptr));
    EXPECT_TRUE(log.Has(LogWarning, here, L"DelKeySearch unknown hkey=0x1234abcd, subkey=\"Some\\Key\""));
}

TEST_F(DelKeySearchTest, MissingKeyIsNotFound)
{
    EXPECT_EQ(_ERROR_NOT_FOUND, Delete());
    EXPECT_TRUE(log.Has(LogError, here, L"RegOpenKeyEx \"" + box.Subkey(L"key") + L"\" failed 0x2"));
    EXPECT_TRUE(log.Has(LogTrace, here, L"path = \"" + Short(L"key") + L"\", err = _ERROR_NOT_FOUND"));
}

TEST_F(DelKeySearchTest, NothingFoundIsASuccess)
{
    box.AddText(L"key\\sub", L"value", L"data");
    EXPECT_EQ(_ERROR_SUCCESS, Delete());
    EXPECT_TRUE(box.HasValue(L"key\\sub", L"value"));
}

TEST_F(DelKeySearchTest, OnlyKeysWithAMatchAreAskedAboutAndOnlyByTheLongName)
{
    box.AddText(L"key\\hit", L"value", L"needle");
    box.AddText(L"key\\other", L"value", L"data");
    EXPECT_EQ(_ERROR_SUCCESS, CRegKeyHelper::DelKeySearch(Short(L"key").c_str(), needle, false, true, &used));
    EXPECT_THAT(used.Asked(), ElementsAre(L"key " + box.Path(L"key\\hit") + L" (32)",
                                          L"value " + box.Path(L"key\\hit") + L" | value (32)"));
}

TEST_F(DelKeySearchTest, TopWithAMatchIsAskedAboutByTheLongNameToo)
{
    box.AddText(L"key", L"value", L"needle");
    used.Claim(L"key " + Short(L"key"));
    EXPECT_EQ(_ERROR_SUCCESS, Delete(needle, false, &used));
    EXPECT_THAT(used.Asked(), ElementsAre(L"key " + box.Path(L"key"), L"value " + box.Path(L"key") + L" | value"));
    EXPECT_FALSE(box.HasKey(L"key"));
}

TEST_F(DelKeySearchTest, MatchInUseStays)
{
    box.AddText(L"key\\hit", L"value", L"needle");
    box.AddText(L"key\\hit too", L"value", L"needle");
    used.Claim(L"key " + box.Path(L"key\\hit"));
    EXPECT_EQ(_ERROR_SUCCESS, Delete(needle, false, &used));
    EXPECT_TRUE(box.HasValue(L"key\\hit", L"value"));
    EXPECT_FALSE(box.HasKey(L"key\\hit too"));
}

TEST_F(DelKeySearchTest, FailedDeletionIsKeptAndTheWalkGoesOn)
{
    for (const wchar_t* const name : {L"key\\a", L"key\\b", L"key\\c"})
        box.AddText(name, L"value", L"needle");
    {
        RegistryFaults faults;
        faults.RefuseKeyDeletion(box.Subkey(L"key\\b"), ERROR_ACCESS_DENIED);
        EXPECT_EQ(_ERROR_FAILED, Delete());
    }
    EXPECT_TRUE(log.Has(LogError, here, L"DelKeySearch " + box.Subkey(L"key\\b") + L" failed 0x2"));
    EXPECT_FALSE(box.HasKey(L"key\\a"));
    EXPECT_TRUE(box.HasKey(L"key\\b"));
    EXPECT_FALSE(box.HasKey(L"key\\c"));
}

TEST_F(DelKeySearchTest, LaterFailureReplacesAnEarlierOneAndALaterSuccessDoesNot)
{
    box.AddText(L"key\\a", L"value", L"needle");
    for (const wchar_t* const name : {L"1", L"2", L"3", L"4", L"5"})
        box.AddKey(std::wstring(L"key\\b\\") + name);
    box.AddText(L"key\\c", L"value", L"needle");
    {
        RegistryFaults faults;
        faults.RefuseKeyDeletion(box.Subkey(L"key\\a"), ERROR_ACCESS_DENIED);
        faults.RefuseSubkeyAt(4, ERROR_KEY_DELETED); // "b" has one, "key" does not
        EXPECT_EQ(_ERROR_UNKNOWN, Delete());
    }
    EXPECT_TRUE(log.Has(LogError, here, L"DelKeySearch " + box.Subkey(L"key\\a") + L" failed 0x2"));
    EXPECT_TRUE(log.Has(LogError, here, L"DelKeySearch " + box.Subkey(L"key\\b") + L" failed 0x3"));
    EXPECT_TRUE(box.HasKey(L"key\\a"));
    EXPECT_FALSE(box.HasKey(L"key\\c"));
}

TEST_F(DelKeySearchTest, ChildThatCannotBeOpenedIsDropped)
{
    box.AddText(L"key\\a", L"value", L"needle");
    box.AddText(L"key\\b", L"value", L"needle");
    {
        RegistryFaults faults;
        faults.RefuseOpen(box.Subkey(L"key\\a"), ERROR_ACCESS_DENIED);
        EXPECT_EQ(_ERROR_SUCCESS, Delete());
    }
    EXPECT_TRUE(log.Has(LogError, here, L"RegOpenKeyEx \"" + box.Subkey(L"key\\a") + L"\" failed 0x5"));
    EXPECT_FALSE(box.HasKey(L"key\\b"));
}

TEST_F(DelKeySearchTest, ValuesThatCannotBeListedAreNotSearchedButTheSubkeysAre)
{
    for (const wchar_t* const name : {L"a", L"b", L"c"})
        box.AddText(L"key", name, L"needle");
    box.AddText(L"key\\sub", L"value", L"needle");
    {
        RegistryFaults faults;
        faults.RefuseValueAt(2, ERROR_KEY_DELETED); // "key" has one, "sub" does not
        EXPECT_EQ(_ERROR_SUCCESS, Delete());
    }
    EXPECT_TRUE(log.Has(LogError, "CRegKeyHelper::GetValues", L"RegEnumValue failed 0x3fa"));
    EXPECT_TRUE(box.HasValue(L"key", L"a"));
    EXPECT_FALSE(box.HasKey(L"key\\sub"));
}

TEST_F(DelKeySearchTest, SubkeysThatCannotBeListedAreTheResult)
{
    box.AddText(L"key\\a", L"value", L"needle");
    {
        RegistryFaults faults;
        faults.RefuseSubkeyAt(1, ERROR_KEY_DELETED);
        EXPECT_EQ(_ERROR_UNKNOWN, Delete());
    }
    EXPECT_TRUE(log.Has(LogError, here, L"GetSubKeys failed 0x3"));
    EXPECT_TRUE(box.HasKey(L"key\\a"));
}

TEST_F(DelKeySearchTest, FlagTellsOfTheLastKeyOnly)
{
    const CSplitKeyPath tablesAreFilled;
    const auto search = [&](const std::wstring& relative, bool& inUse) {
        return CRegKeyHelper::DelKeySearch(HKEY_CURRENT_USER, box.Subkey(relative), needle, false, false, &used,
                                           &inUse);
    };
    box.AddText(L"key\\a", L"value", L"needle");
    box.AddText(L"key\\b", L"value", L"data");
    used.Claim(L"key " + box.Path(L"key\\a"));
    bool inUse = false;
    EXPECT_EQ(_ERROR_SUCCESS, search(L"key\\a", inUse));
    EXPECT_TRUE(inUse);
    EXPECT_EQ(_ERROR_SUCCESS, search(L"key", inUse));
    EXPECT_FALSE(inUse);
    inUse = true;
    EXPECT_EQ(_ERROR_NOT_FOUND, search(L"missing", inUse));
    EXPECT_TRUE(inUse);
}

TEST_F(DelKeySearchTest, MatchStaysWithoutAFlagToTellIt)
{
    const CSplitKeyPath tablesAreFilled;
    box.AddText(L"key\\hit", L"value", L"needle");
    used.Claim(L"key " + box.Path(L"key\\hit"));
    EXPECT_EQ(_ERROR_SUCCESS,
              CRegKeyHelper::DelKeySearch(HKEY_CURRENT_USER, box.Subkey(L"key"), needle, false, false, &used, nullptr));
    EXPECT_TRUE(box.HasKey(L"key\\hit"));
}

TEST_F(DelKeySearchTest, KeyIsClosedBeforeItIsDeletedAndSubkeysOfAMatchAreNotSearched)
{
    box.AddText(L"key", L"value", L"needle");
    box.AddKey(L"key\\sub");
    const RegistryFaults faults;
    EXPECT_EQ(_ERROR_SUCCESS, Delete());
    EXPECT_THAT(faults.DeletedWhileOpen(), IsEmpty());
    // One search, one deletion with its subkey: three opens in all.
    EXPECT_EQ(2, faults.Count(L"open " + box.Subkey(L"key") + L" 0xf003f"));
    EXPECT_EQ(1, faults.Count(L"open " + box.Subkey(L"key\\sub") + L" 0xf003f"));
}

TEST_F(DelKeySearchTest, MatchAtTheBottomOfSixtyLevelsGoes)
{
    std::wstring deep = L"key";
    for (int i = 0; i < 59; ++i)
        deep += L"\\d";
    box.AddText(deep + L"\\hit", L"value", L"needle");
    EXPECT_EQ(_ERROR_SUCCESS, Delete());
    EXPECT_FALSE(box.HasKey(deep + L"\\hit"));
    EXPECT_TRUE(box.HasKey(deep));
}

// Check.

class CheckKeySearchTest : public KeySearchTest
{
protected:
    const char* const here = "CRegKeyHelper::CheckKeySearch";
};

TEST_F(CheckKeySearchTest, KeySucceedsWithAndWithoutAMatch)
{
    box.AddText(L"key", L"value", L"needle");
    EXPECT_EQ(_ERROR_SUCCESS, Check());
    EXPECT_EQ(_ERROR_SUCCESS, Check({L"nowhere"}));
    EXPECT_EQ(_ERROR_SUCCESS, Check({}));
    EXPECT_TRUE(log.HasNoneAt(LogError));
    EXPECT_TRUE(box.HasValue(L"key", L"value"));
}

TEST_F(CheckKeySearchTest, EntryAndExitAreTraced)
{
    box.AddKey(L"key");
    EXPECT_EQ(_ERROR_SUCCESS, Check());
    EXPECT_TRUE(log.Has(LogTrace, here, L"path = \"" + Short(L"key") + L"\""));
    EXPECT_TRUE(log.Has(LogTrace, here, L"\"HKEY_CURRENT_USER\" \\ \"" + box.Subkey(L"key") + L"\""));
    EXPECT_TRUE(log.Has(LogTrace, here, L"path = \"" + Short(L"key") + L"\", err = _ERROR_SUCCESS"));
}

TEST_F(CheckKeySearchTest, MissingKeyIsNotFound)
{
    EXPECT_EQ(_ERROR_NOT_FOUND, Check());
    EXPECT_TRUE(log.Has(LogError, here, L"RegOpenKeyEx \"" + box.Subkey(L"key") + L"\" failed 0x2"));
    EXPECT_TRUE(log.Has(LogTrace, here, L"path = \"" + Short(L"key") + L"\", err = _ERROR_NOT_FOUND"));
}

TEST_F(CheckKeySearchTest, PathWithoutAKnownHiveIsNotFoundWithoutTheClosingLine)
{
    EXPECT_EQ(_ERROR_NOT_FOUND, CRegKeyHelper::CheckKeySearch(L"hkcu\\Software", needle, false, false));
    EXPECT_TRUE(log.Has(LogTrace, here, L"path = \"hkcu\\Software\""));
    EXPECT_EQ(0, log.Count(LogTrace, here, L"path = \"hkcu\\Software\", err = _ERROR_NOT_FOUND"));
}

TEST_F(CheckKeySearchTest, MatchEndsTheReading)
{
    for (const wchar_t* const name : {L"a", L"b", L"c"})
        box.AddText(L"key", name, L"needle");
    box.AddKey(L"key\\sub");
    const RegistryFaults faults;
    EXPECT_EQ(_ERROR_SUCCESS, Check());
    EXPECT_THAT(faults.Calls(),
                ElementsAre(L"open " + box.Subkey(L"key") + L" 0xf003f", L"query", L"value 0 name=2 data=15"));
}

TEST_F(CheckKeySearchTest, EachSubkeyIsTriedOnceByThePathFromTheRoot)
{
    for (const wchar_t* const name : {L"key\\a\\below", L"key\\b"})
        box.AddText(name, L"value", L"needle");
    const RegistryFaults faults;
    EXPECT_EQ(_ERROR_SUCCESS, Check());
    EXPECT_THAT(faults.Calls(),
                ElementsAre(L"open " + box.Subkey(L"key") + L" 0xf003f", L"query", L"value 0 name=1 data=1",
                            L"subkey 0 name=2", L"open " + box.Subkey(L"key\\a") + L" 0xf003f", //
                            L"subkey 1 name=2", L"open " + box.Subkey(L"key\\b") + L" 0xf003f", L"subkey 2 name=2"));
    EXPECT_TRUE(log.Has(LogError, here, L"RegOpenKeyEx \"" + box.Subkey(L"key\\a") + L"\" failed 0x2"));
    EXPECT_TRUE(log.Has(LogError, here, L"RegOpenKeyEx \"" + box.Subkey(L"key\\b") + L"\" failed 0x2"));
    // The root of the second step is an opened key and has no name to show.
    EXPECT_TRUE(log.Has(LogTrace, here, L"\"" + box.Subkey(L"key\\a") + L"\""));
}

TEST_F(CheckKeySearchTest, SubkeyIsFoundWhenThePathExistsBelowTheKeyByChance)
{
    box.AddKey(L"key\\a");
    box.AddKey(L"key\\b");
    box.AddKey(L"key\\" + box.Subkey(L"key\\a"));
    const RegistryFaults faults;
    EXPECT_EQ(_ERROR_SUCCESS, Check());
    // Success at "a": "b" is not tried any more.
    EXPECT_EQ(1, faults.Count(L"open " + box.Subkey(L"key\\a") + L" 0xf003f"));
    EXPECT_EQ(0, faults.Count(L"open " + box.Subkey(L"key\\b") + L" 0xf003f"));
}

TEST_F(CheckKeySearchTest, FailedQueryIsUnknown)
{
    box.AddKey(L"key");
    RegistryFaults faults;
    faults.RefuseQuery(ERROR_ACCESS_DENIED);
    EXPECT_EQ(_ERROR_UNKNOWN, Check());
    EXPECT_TRUE(log.Has(LogError, here, L"RegQueryInfoKey \"" + box.Subkey(L"key") + L"\" failed 0x5"));
}

TEST_F(CheckKeySearchTest, FailedReadingOfAValueIsUnknown)
{
    box.AddText(L"key", L"a", L"data");
    RegistryFaults faults;
    faults.RefuseValueAt(1, ERROR_KEY_DELETED);
    EXPECT_EQ(_ERROR_UNKNOWN, Check());
    EXPECT_TRUE(log.Has(LogError, here, L"RegEnumValue \"" + box.Subkey(L"key") + L"\" failed 0x3fa"));
}

TEST_F(CheckKeySearchTest, MatchAheadOfAFailureIsASuccess)
{
    box.AddText(L"key", L"a", L"needle");
    RegistryFaults faults;
    faults.RefuseValueAt(1, ERROR_KEY_DELETED);
    EXPECT_EQ(_ERROR_SUCCESS, Check());
}

TEST_F(CheckKeySearchTest, FailedReadingOfASubkeyIsUnknown)
{
    box.AddKey(L"key\\a");
    RegistryFaults faults;
    faults.RefuseSubkeyAt(1, ERROR_KEY_DELETED);
    EXPECT_EQ(_ERROR_UNKNOWN, Check());
    EXPECT_TRUE(log.Has(LogError, here, L"RegEnumKeyEx \"" + box.Subkey(L"key") + L"\" failed 0x3fa"));
    EXPECT_TRUE(log.Has(LogTrace, here, L"path = \"" + Short(L"key") + L"\", err = _ERROR_UNKNOWN"));
}

TEST_F(CheckKeySearchTest, GrownKeyIsReadOnWithoutALine)
{
    box.AddText(L"key", L"a", L"needle");
    box.AddKey(L"key\\a");
    RegistryFaults faults;
    faults.MoreForValueAt(0, 20, 40);
    faults.MoreForSubkeyAt(0, 20);
    EXPECT_EQ(_ERROR_SUCCESS, Check({L"nowhere"}));
    EXPECT_THAT(faults.Calls(), Contains(L"value 0 name=21 data=41"));
    EXPECT_THAT(faults.Calls(), Contains(L"subkey 0 name=21"));
    EXPECT_EQ(0, log.Count(LogTrace, here, L"RegEnumValue ERROR_MORE_DATA"));
    EXPECT_EQ(0, log.Count(LogTrace, here, L"RegEnumKeyEx ERROR_MORE_DATA"));
}

TEST_F(CheckKeySearchTest, GrownKeyIsReadWholeByTheRealSystem)
{
    box.AddText(L"key", std::wstring(16383, L'n'), L"data");
    box.AddText(L"key", L"z", L"data");
    box.AddKey(L"key\\" + std::wstring(255, L'k'));
    RegistryFaults faults;
    faults.HideMaxima();
    EXPECT_EQ(_ERROR_SUCCESS, Check());
    EXPECT_EQ(1, faults.Count(L"open " + box.Subkey(L"key\\" + std::wstring(255, L'k')) + L" 0xf003f"));
}

TEST_F(CheckKeySearchTest, SystemThatNeverHasEnoughRoomIsGivenUp)
{
    box.AddText(L"key", L"a", L"data");
    RegistryFaults faults;
    faults.MoreForever();
    EXPECT_EQ(_ERROR_UNKNOWN, Check());
    EXPECT_TRUE(log.Has(LogError, here, L"RegEnumValue \"" + box.Subkey(L"key") + L"\" failed 0x7a"));
}

// Expansion.

class ExpandKeySearchTest : public KeySearchTest
{
protected:
    const char* const here = "CRegKeyHelper::ExpandKeySearch";
};

TEST_F(ExpandKeySearchTest, KeysWithAMatchAreListedWithAllBelowAtEveryDepth)
{
    box.AddText(L"key\\a\\b\\hit", L"value", L"needle");
    box.AddText(L"key\\a\\b\\hit\\below", L"inner", L"data");
    box.AddText(L"key\\other", L"value", L"data");
    box.AddText(L"key\\top hit", L"value", L"needle");

    EXPECT_EQ(_ERROR_SUCCESS, Expand());

    EXPECT_THAT(Paths(keys), ElementsAre(box.Path(L"key\\a\\b\\hit"), box.Path(L"key\\a\\b\\hit\\below"),
                                         box.Path(L"key\\top hit")));
    EXPECT_THAT(Paths(values),
                ElementsAre(box.Path(L"key\\a\\b\\hit\\value"), box.Path(L"key\\a\\b\\hit\\below\\inner"),
                            box.Path(L"key\\top hit\\value")));
    EXPECT_TRUE(log.HasNoneAt(LogError));
}

TEST_F(ExpandKeySearchTest, TopWithAMatchIsListedByTheLongHiveName)
{
    box.AddText(L"key", L"value", L"needle");
    EXPECT_EQ(_ERROR_SUCCESS, Expand());
    EXPECT_THAT(Paths(keys), ElementsAre(box.Path(L"key")));
    EXPECT_FALSE(keys[0].x32view);
    EXPECT_EQ(_ERROR_SUCCESS, CRegKeyHelper::ExpandKeySearch(Short(L"key").c_str(), needle, false, true, keys, values));
    ASSERT_EQ(2U, keys.size());
    EXPECT_TRUE(keys[1].x32view);
    EXPECT_TRUE(values[1].x32view);
}

TEST_F(ExpandKeySearchTest, KeyWithAMatchIsClosedBeforeItIsExpanded)
{
    box.AddText(L"key", L"value", L"needle");
    const RegistryFaults faults;
    EXPECT_EQ(_ERROR_SUCCESS, Expand());
    EXPECT_EQ(2, faults.Count(L"open " + box.Subkey(L"key") + L" 0xf003f"));
    EXPECT_THAT(faults.OpenedWhileOpen(), IsEmpty());
}

TEST_F(ExpandKeySearchTest, EntryAndExitAreTraced)
{
    box.AddKey(L"key");
    EXPECT_EQ(_ERROR_SUCCESS, Expand());
    EXPECT_TRUE(log.Has(LogTrace, here, L"path = \"" + Short(L"key") + L"\""));
    EXPECT_TRUE(log.Has(LogTrace, here, L"\"HKEY_CURRENT_USER\" \\ \"" + box.Subkey(L"key") + L"\""));
    EXPECT_TRUE(log.Has(LogTrace, here, L"path = \"" + Short(L"key") + L"\", err = _ERROR_SUCCESS"));
}

TEST_F(ExpandKeySearchTest, MissingKeyIsNotFoundAndNotListed)
{
    EXPECT_EQ(_ERROR_NOT_FOUND, Expand());
    EXPECT_THAT(keys, IsEmpty());
    EXPECT_TRUE(log.Has(LogError, here, L"RegOpenKeyEx \"" + box.Subkey(L"key") + L"\" failed 0x2"));
}

TEST_F(ExpandKeySearchTest, PathWithoutAKnownHiveIsNotFoundWithTheClosingLine)
{
    EXPECT_EQ(_ERROR_NOT_FOUND, CRegKeyHelper::ExpandKeySearch(L"hkcu\\Software", needle, false, false, keys, values));
    EXPECT_TRUE(log.Has(LogTrace, here, L"path = \"hkcu\\Software\", err = _ERROR_NOT_FOUND"));
}

TEST_F(ExpandKeySearchTest, HiveWithoutANameIsRefused)
{
    EXPECT_EQ(_ERROR_FAILED, CRegKeyHelper::ExpandKeySearch(reinterpret_cast<HKEY>(0x1234ABCDULL), L"Some\\Key", needle,
                                                            false, false, keys, values));
    EXPECT_TRUE(log.Has(LogWarning, here, L"can't expand unknown hkey=0x1234abcd, subkey=\"Some\\Key\""));
}

TEST_F(ExpandKeySearchTest, ChildThatFailsIsToldAndSteppedOver)
{
    for (const wchar_t* const name : {L"key\\a", L"key\\b"})
        box.AddText(name, L"value", L"needle");
    RegistryFaults faults;
    faults.RefuseOpen(box.Subkey(L"key\\a"), ERROR_ACCESS_DENIED);
    EXPECT_EQ(_ERROR_SUCCESS, Expand());
    EXPECT_THAT(Paths(keys), ElementsAre(box.Path(L"key\\b")));
    EXPECT_TRUE(log.Has(LogWarning, here,
                        L"ExpandKeySearch \"HKEY_CURRENT_USER\" \\ \"" + box.Subkey(L"key\\a") +
                            L"\" failed _ERROR_NOT_FOUND"));
}

TEST_F(ExpandKeySearchTest, FailedQueryIsUnknown)
{
    box.AddKey(L"key");
    RegistryFaults faults;
    faults.RefuseQuery(ERROR_ACCESS_DENIED);
    EXPECT_EQ(_ERROR_UNKNOWN, Expand());
    EXPECT_TRUE(log.Has(LogError, here, L"RegQueryInfoKey \"" + box.Subkey(L"key") + L"\" failed 0x5"));
}

TEST_F(ExpandKeySearchTest, FailedReadingsAreUnknown)
{
    box.AddText(L"key", L"a", L"data");
    box.AddKey(L"key\\a");
    {
        RegistryFaults faults;
        faults.RefuseValueAt(1, ERROR_KEY_DELETED);
        EXPECT_EQ(_ERROR_UNKNOWN, Expand());
    }
    EXPECT_TRUE(log.Has(LogError, here, L"RegEnumValue \"" + box.Subkey(L"key") + L"\" failed 0x3fa"));
    RegistryFaults faults;
    faults.RefuseSubkeyAt(1, ERROR_KEY_DELETED);
    EXPECT_EQ(_ERROR_UNKNOWN, Expand());
    EXPECT_TRUE(log.Has(LogError, here, L"RegEnumKeyEx \"" + box.Subkey(L"key") + L"\" failed 0x3fa"));
}

TEST_F(ExpandKeySearchTest, GrownKeyIsReadOnAndTraced)
{
    box.AddText(L"key", L"a", L"data");
    box.AddText(L"key\\sub", L"value", L"needle");
    RegistryFaults faults;
    faults.MoreForValueAt(0, 20, 40);
    faults.MoreForSubkeyAt(0, 20);
    EXPECT_EQ(_ERROR_SUCCESS, Expand());
    EXPECT_THAT(Paths(keys), ElementsAre(box.Path(L"key\\sub")));
    EXPECT_EQ(1, log.Count(LogTrace, here, L"RegEnumValue ERROR_MORE_DATA"));
    EXPECT_EQ(1, log.Count(LogTrace, here, L"RegEnumKeyEx ERROR_MORE_DATA"));
}

TEST_F(ExpandKeySearchTest, GrownKeyIsReadWholeByTheRealSystem)
{
    const std::wstring longKey(255, L'k');
    box.AddText(L"key\\" + longKey, std::wstring(16383, L'n'), L"needle");
    RegistryFaults faults;
    faults.HideMaxima();
    EXPECT_EQ(_ERROR_SUCCESS, Expand());
    EXPECT_THAT(Paths(keys), ElementsAre(box.Path(L"key\\" + longKey)));
    EXPECT_EQ(1U, values.size());
}

TEST_F(KeySearchTest, ManyValuesAreSearchedToTheLast)
{
    for (int i = 0; i < 5000; ++i)
        box.AddText(L"key", std::to_wstring(i), L"data " + std::to_wstring(i));
    log.Pause();
    EXPECT_EQ(_ERROR_SUCCESS, Expand({L"nowhere"}));
    EXPECT_THAT(keys, IsEmpty());
    EXPECT_EQ(_ERROR_SUCCESS, Expand({L"data 4999"}, true));
    EXPECT_EQ(1U, keys.size());
    EXPECT_EQ(5000U, values.size());
    EXPECT_EQ(_ERROR_SUCCESS, Delete({L"data 4999"}, true));
    EXPECT_FALSE(box.HasKey(L"key"));
}

} // namespace
} // namespace prodsweep
