#include "registry/reg_key_helper.h"

#include "common/unique_reg_key.h"
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

class KeyDeletionTest : public test::RegistryFixture
{
protected:
    // As a descriptor would write it.
    std::wstring Short(const std::wstring& relative) const { return L"HKCU\\" + box.Subkey(relative); }

    int Delete(const std::wstring& relative, IUsed* answerer = nullptr)
    {
        return CRegKeyHelper::DeleteKey(Short(relative).c_str(), false, answerer);
    }
    int DeleteInner(const std::wstring& relative, bool* inUse)
    {
        const CSplitKeyPath tablesAreFilled;
        return CRegKeyHelper::DeleteKey(HKEY_CURRENT_USER, box.Subkey(relative), false, &used, inUse);
    }

    const char* const here = "CRegKeyHelper::DeleteKey";
    UsedRecorder used;
};

TEST_F(KeyDeletionTest, KeyGoesWithAllThatIsInItAndItsNeighboursStay)
{
    box.AddText(L"key", L"value", L"data");
    box.AddText(L"key\\sub\\subsub", L"value", L"data");
    box.AddText(L"key2", L"value", L"data");
    box.AddText(L"", L"key", L"a value of the same name");

    EXPECT_EQ(_ERROR_SUCCESS, Delete(L"key"));

    EXPECT_FALSE(box.HasKey(L"key"));
    EXPECT_TRUE(box.HasValue(L"key2", L"value"));
    EXPECT_TRUE(box.HasValue(L"", L"key"));
    EXPECT_TRUE(log.HasNoneAt(LogError));
}

TEST_F(KeyDeletionTest, EachStepIsTraced)
{
    box.AddKey(L"key\\sub");
    EXPECT_EQ(_ERROR_SUCCESS, Delete(L"key"));
    EXPECT_TRUE(log.Has(LogTrace, here, L"->\"" + Short(L"key") + L"\""));
    EXPECT_TRUE(log.Has(LogTrace, here, L"\"HKEY_CURRENT_USER\" \\ \"" + box.Subkey(L"key") + L"\""));
    EXPECT_TRUE(log.Has(LogTrace, here, L"\"HKEY_CURRENT_USER\" \\ \"" + box.Subkey(L"key\\sub") + L"\""));
}

TEST_F(KeyDeletionTest, MissingKeyIsNotFound)
{
    EXPECT_EQ(_ERROR_NOT_FOUND, Delete(L"missing"));
    EXPECT_TRUE(log.Has(LogError, here, L"RegOpenKeyEx \"" + box.Subkey(L"missing") + L"\" failed 0x2"));
}

TEST_F(KeyDeletionTest, KeyThatCannotBeOpenedCountsAsNotFoundWhateverTheReason)
{
    box.AddText(L"key", L"value", L"data");
    RegistryFaults faults;
    faults.RefuseOpen(box.Subkey(L"key"), ERROR_ACCESS_DENIED);

    EXPECT_EQ(_ERROR_NOT_FOUND, Delete(L"key"));

    EXPECT_TRUE(log.Has(LogError, here, L"RegOpenKeyEx \"" + box.Subkey(L"key") + L"\" failed 0x5"));
    EXPECT_THAT(faults.Calls(), ElementsAre(L"open " + box.Subkey(L"key") + L" 0xf003f"));
}

TEST_F(KeyDeletionTest, PathWithoutAKnownHiveIsNotFound)
{
    for (const std::wstring path : {L"", L"\\", L"HKCU", L"hkcu\\Software", L"Software\\X", L"HKXX\\Software"})
    {
        EXPECT_EQ(_ERROR_NOT_FOUND, CRegKeyHelper::DeleteKey(path.c_str(), false, nullptr)) << test::Narrow(path);
        EXPECT_TRUE(log.Has(LogError, "CSplitKeyPath::Split", L"unknown base key \"" + path + L"\""));
    }
}

TEST_F(KeyDeletionTest, HiveWithoutANameIsRefused)
{
    box.AddKey(L"key");
    EXPECT_EQ(_ERROR_FAILED,
              CRegKeyHelper::DeleteKey(reinterpret_cast<HKEY>(0x1234ABCDULL), L"Some\\Key", false, &used, nullptr));
    EXPECT_TRUE(log.Has(LogWarning, here, L"can't delete unknown hkey=0x1234abcd, subkey=\"Some\\Key\""));
    EXPECT_THAT(used.Asked(), IsEmpty());
}

TEST_F(KeyDeletionTest, OpenedKeyIsNoHive)
{
    box.AddKey(L"key");
    HKEY opened = nullptr;
    ASSERT_EQ(ERROR_SUCCESS, RegOpenKeyExW(HKEY_CURRENT_USER, box.Subkey().c_str(), 0, KEY_ALL_ACCESS, &opened));
    const UniqueRegKey owner(opened);
    EXPECT_EQ(_ERROR_FAILED, CRegKeyHelper::DeleteKey(opened, L"key", false, nullptr, nullptr));
    EXPECT_TRUE(box.HasKey(L"key"));
}

TEST_F(KeyDeletionTest, SlashInAPathIsPartOfAName)
{
    box.AddKey(L"a/b");
    EXPECT_EQ(_ERROR_SUCCESS, Delete(L"a/b"));
    EXPECT_FALSE(box.HasKey(L"a/b"));
}

TEST_F(KeyDeletionTest, SeparatorAtTheEndIsNotDoubledBelow)
{
    box.AddKey(L"key\\sub");
    EXPECT_EQ(_ERROR_SUCCESS, Delete(L"key\\", &used));
    EXPECT_FALSE(box.HasKey(L"key"));
    EXPECT_THAT(used.Asked(),
                ElementsAre(L"key " + Short(L"key\\"), L"key " + box.Path(L"key\\"), L"key " + box.Path(L"key\\sub")));
}

TEST_F(KeyDeletionTest, EachKeyIsClosedBeforeItGoes)
{
    box.AddText(L"key\\sub", L"value", L"data");
    const RegistryFaults faults;
    EXPECT_EQ(_ERROR_SUCCESS, Delete(L"key"));
    EXPECT_EQ(1, faults.Count(L"delete key " + box.Subkey(L"key\\sub")));
    EXPECT_THAT(faults.DeletedWhileOpen(), IsEmpty());
}

// What is in use.

TEST_F(KeyDeletionTest, TopIsAskedAboutAsSpelledAndThenByTheLongHiveName)
{
    box.AddText(L"key", L"value", L"data");
    box.AddText(L"key\\sub", L"", L"default");

    EXPECT_EQ(_ERROR_SUCCESS, Delete(L"key", &used));

    EXPECT_THAT(used.Asked(), ElementsAre(L"key " + Short(L"key"), L"key " + box.Path(L"key"),
                                          L"value " + box.Path(L"key") + L" | value", //
                                          L"key " + box.Path(L"key\\sub"), L"value " + box.Path(L"key\\sub") + L" | "));
    EXPECT_FALSE(box.HasKey(L"key"));
}

TEST_F(KeyDeletionTest, ViewReachesEachQuestionAndNoMask)
{
    box.AddText(L"key", L"value", L"data");
    box.AddKey(L"key\\sub");
    RegistryFaults faults;

    EXPECT_EQ(_ERROR_SUCCESS, CRegKeyHelper::DeleteKey(Short(L"key").c_str(), true, &used));

    EXPECT_THAT(used.Asked(), ElementsAre(L"key " + Short(L"key") + L" (32)", L"key " + box.Path(L"key") + L" (32)",
                                          L"value " + box.Path(L"key") + L" | value (32)",
                                          L"key " + box.Path(L"key\\sub") + L" (32)"));
    EXPECT_EQ(1, faults.Count(L"open " + box.Subkey(L"key") + L" 0xf003f"));
    EXPECT_EQ(1, faults.Count(L"open " + box.Subkey(L"key\\sub") + L" 0xf003f"));
}

TEST_F(KeyDeletionTest, KeyInUseAsSpelledIsNotEvenOpened)
{
    box.AddText(L"key", L"value", L"data");
    used.Claim(L"key " + Short(L"key"));
    {
        const RegistryFaults faults;
        EXPECT_EQ(_ERROR_SUCCESS, Delete(L"key", &used));
        EXPECT_THAT(faults.Calls(), IsEmpty());
    }
    EXPECT_THAT(used.Asked(), ElementsAre(L"key " + Short(L"key")));
    EXPECT_TRUE(box.HasValue(L"key", L"value"));
    EXPECT_EQ(1, log.Count(LogTrace, here, L"in use"));
}

TEST_F(KeyDeletionTest, KeyInUseByTheLongNameIsNotEvenOpened)
{
    box.AddText(L"key", L"value", L"data");
    used.Claim(L"key " + box.Path(L"key"));
    {
        const RegistryFaults faults;
        EXPECT_EQ(_ERROR_SUCCESS, Delete(L"key", &used));
        EXPECT_THAT(faults.Calls(), IsEmpty());
    }
    EXPECT_TRUE(box.HasValue(L"key", L"value"));
    EXPECT_EQ(1, log.Count(LogTrace, here, L"in use"));
}

TEST_F(KeyDeletionTest, PathWithoutAHiveIsStillAskedAbout)
{
    used.Claim(L"key nowhere");
    EXPECT_EQ(_ERROR_SUCCESS, CRegKeyHelper::DeleteKey(L"nowhere", false, &used));
    EXPECT_TRUE(log.HasNoneAt(LogError));
}

TEST_F(KeyDeletionTest, OtherViewIsAnotherItem)
{
    box.AddKey(L"key");
    used.Claim(L"key " + Short(L"key") + L" (32)");
    EXPECT_EQ(_ERROR_SUCCESS, Delete(L"key", &used));
    EXPECT_FALSE(box.HasKey(L"key"));
}

TEST_F(KeyDeletionTest, SubkeyInUseKeepsTheKeysAboveButNotTheirValues)
{
    box.AddText(L"key", L"value", L"data");
    box.AddText(L"key\\sub", L"value", L"data");
    box.AddText(L"key\\sub\\kept", L"value", L"data");
    box.AddKey(L"key\\other");
    used.Claim(L"key " + box.Path(L"key\\sub\\kept"));

    EXPECT_EQ(_ERROR_SUCCESS, Delete(L"key", &used));

    EXPECT_TRUE(box.HasValue(L"key\\sub\\kept", L"value"));
    EXPECT_FALSE(box.HasValue(L"key\\sub", L"value"));
    EXPECT_FALSE(box.HasValue(L"key", L"value"));
    EXPECT_FALSE(box.HasKey(L"key\\other"));
    EXPECT_EQ(1, log.Count(LogTrace, here, L"in use"));
    EXPECT_TRUE(log.HasNoneAt(LogError));
}

TEST_F(KeyDeletionTest, SubkeyInUseIsKeptWhicheverSiblingComesLast)
{
    for (const std::wstring kept : {L"a", L"b", L"c"})
    {
        for (const wchar_t* const name : {L"key\\a", L"key\\b", L"key\\c"})
            box.AddKey(name);
        UsedRecorder answerer;
        answerer.Claim(L"key " + box.Path(L"key\\" + kept));
        EXPECT_EQ(_ERROR_SUCCESS, Delete(L"key", &answerer));
        for (const std::wstring name : {L"a", L"b", L"c"})
            EXPECT_EQ(name == kept, box.HasKey(L"key\\" + name)) << test::Narrow(kept) << " and " << test::Narrow(name);
    }
    EXPECT_TRUE(log.HasNoneAt(LogError));
}

TEST_F(KeyDeletionTest, ValueInUseStaysWithItsKeyAndThoseAbove)
{
    box.AddText(L"key\\sub", L"kept", L"data");
    box.AddText(L"key\\sub", L"other", L"data");
    used.Claim(L"value " + box.Path(L"key\\sub") + L" | kept");

    EXPECT_EQ(_ERROR_SUCCESS, Delete(L"key", &used));

    EXPECT_TRUE(box.HasValue(L"key\\sub", L"kept"));
    EXPECT_FALSE(box.HasValue(L"key\\sub", L"other"));
    // No line for a value here, unlike the deletion of values by name.
    EXPECT_EQ(0, log.Count(LogTrace, here, L"in use"));
}

TEST_F(KeyDeletionTest, ListsAreReadBeforeTheFirstDeletion)
{
    box.AddText(L"key", L"a", L"");
    box.AddText(L"key", L"b", L"");
    bool complete = true;
    used.whenAsked = [&](const std::wstring& question) {
        if (question.starts_with(L"value ") && question.ends_with(L"| a"))
            complete = complete && box.HasValue(L"key", L"a");
        if (question.starts_with(L"value ") && question.ends_with(L"| b"))
            complete = complete && box.HasValue(L"key", L"b");
    };
    {
        RegistryFaults faults;
        EXPECT_EQ(_ERROR_SUCCESS, Delete(L"key"));
        EXPECT_THAT(faults.Calls(),
                    ElementsAre(L"open " + box.Subkey(L"key") + L" 0xf003f",                       //
                                L"query", L"value 0 name=2", L"value 1 name=2", L"value 2 name=2", //
                                L"delete value a", L"delete value b",                              //
                                L"query", L"subkey 0 name=1", L"delete key " + box.Subkey(L"key")));
    }
    box.AddText(L"key", L"a", L"");
    box.AddText(L"key", L"b", L"");
    EXPECT_EQ(_ERROR_SUCCESS, Delete(L"key", &used));
    EXPECT_TRUE(complete) << "a value was gone when it was asked about";
}

TEST_F(KeyDeletionTest, FlagTellsOfTheKeyItself)
{
    bool inUse = false;
    box.AddKey(L"key");
    used.Claim(L"key " + box.Path(L"key"));
    EXPECT_EQ(_ERROR_SUCCESS, DeleteInner(L"key", &inUse));
    EXPECT_TRUE(inUse);
}

TEST_F(KeyDeletionTest, FlagTellsOfAValueAndOfASubkey)
{
    bool inUse = false;
    box.AddText(L"key", L"value", L"");
    used.Claim(L"value " + box.Path(L"key") + L" | value");
    EXPECT_EQ(_ERROR_SUCCESS, DeleteInner(L"key", &inUse));
    EXPECT_TRUE(inUse);

    inUse = false;
    box.AddKey(L"parent\\sub\\subsub");
    used.Claim(L"key " + box.Path(L"parent\\sub\\subsub"));
    EXPECT_EQ(_ERROR_SUCCESS, DeleteInner(L"parent", &inUse));
    EXPECT_TRUE(inUse);
}

TEST_F(KeyDeletionTest, FlagIsClearedOnceTheKeyIsOpenAndNotBefore)
{
    bool inUse = true;
    EXPECT_EQ(_ERROR_NOT_FOUND, DeleteInner(L"missing", &inUse));
    EXPECT_TRUE(inUse);

    box.AddKey(L"key");
    EXPECT_EQ(_ERROR_SUCCESS, DeleteInner(L"key", &inUse));
    EXPECT_FALSE(inUse);
    EXPECT_FALSE(box.HasKey(L"key"));
}

TEST_F(KeyDeletionTest, WhatIsInUseStaysWithoutAFlagToTellIt)
{
    box.AddText(L"key", L"kept", L"");
    box.AddKey(L"other\\kept");
    used.Claim(L"value " + box.Path(L"key") + L" | kept");
    used.Claim(L"key " + box.Path(L"other\\kept"));
    EXPECT_EQ(_ERROR_SUCCESS, DeleteInner(L"key", nullptr));
    EXPECT_EQ(_ERROR_SUCCESS, DeleteInner(L"other", nullptr));
    EXPECT_TRUE(box.HasValue(L"key", L"kept"));
    EXPECT_TRUE(box.HasKey(L"other\\kept"));
    EXPECT_TRUE(log.HasNoneAt(LogError));
}

// What is refused.

TEST_F(KeyDeletionTest, ValueThatCannotBeDeletedStopsNothing)
{
    for (const wchar_t* const name : {L"a", L"b", L"c"})
        box.AddText(L"key", name, L"");
    {
        RegistryFaults faults;
        faults.RefuseValueDeletion(L"b", ERROR_ACCESS_DENIED);
        EXPECT_EQ(_ERROR_SUCCESS, Delete(L"key"));
        EXPECT_EQ(1, faults.Count(L"delete value c"));
    }
    EXPECT_TRUE(log.Has(LogError, here, L"RegDeleteValue \"b\" failed 0x5"));
    // The system takes the values that are left along with their key.
    EXPECT_FALSE(box.HasKey(L"key"));
}

TEST_F(KeyDeletionTest, KeyThatCannotBeDeletedFails)
{
    box.AddText(L"key", L"value", L"");
    {
        RegistryFaults faults;
        faults.RefuseKeyDeletion(box.Subkey(L"key"), ERROR_ACCESS_DENIED);
        EXPECT_EQ(_ERROR_FAILED, Delete(L"key"));
    }
    EXPECT_TRUE(
        log.Has(LogError, here, L"DeleteKeyEx \"HKEY_CURRENT_USER\" \\ \"" + box.Subkey(L"key") + L"\" failed 0x5"));
    EXPECT_TRUE(box.HasKey(L"key"));
    EXPECT_FALSE(box.HasValue(L"key", L"value"));
}

TEST_F(KeyDeletionTest, ChildThatCannotBeDeletedSparesNeitherItsSiblingsNorTheAttemptOnItsParent)
{
    for (const wchar_t* const name : {L"key\\a", L"key\\b", L"key\\c"})
        box.AddKey(name);
    {
        RegistryFaults faults;
        faults.RefuseKeyDeletion(box.Subkey(L"key\\b"), ERROR_ACCESS_DENIED);
        EXPECT_EQ(_ERROR_FAILED, Delete(L"key"));
        EXPECT_EQ(1, faults.Count(L"delete key " + box.Subkey(L"key")));
    }
    EXPECT_TRUE(log.Has(LogError, here, L"DeleteKey \"" + box.Subkey(L"key\\b") + L"\" failed 0x2"));
    EXPECT_TRUE(
        log.Has(LogError, here, L"DeleteKeyEx \"HKEY_CURRENT_USER\" \\ \"" + box.Subkey(L"key") + L"\" failed 0x5"));
    EXPECT_TRUE(box.HasKey(L"key\\b"));
    EXPECT_FALSE(box.HasKey(L"key\\a"));
    EXPECT_FALSE(box.HasKey(L"key\\c"));
}

TEST_F(KeyDeletionTest, ChildThatCannotBeOpenedIsToldAndItsParentStillTried)
{
    box.AddKey(L"key\\sub");
    {
        RegistryFaults faults;
        faults.RefuseOpen(box.Subkey(L"key\\sub"), ERROR_ACCESS_DENIED);
        EXPECT_EQ(_ERROR_FAILED, Delete(L"key"));
        EXPECT_EQ(1, faults.Count(L"delete key " + box.Subkey(L"key")));
    }
    EXPECT_TRUE(log.Has(LogError, here, L"DeleteKey \"" + box.Subkey(L"key\\sub") + L"\" failed 0x1"));
    EXPECT_TRUE(box.HasKey(L"key\\sub"));
}

TEST_F(KeyDeletionTest, ValuesThatCannotBeListedAreSteppedOver)
{
    for (const wchar_t* const name : {L"a", L"b", L"c"})
        box.AddText(L"key", name, L"");
    box.AddKey(L"key\\sub");
    {
        RegistryFaults faults;
        faults.RefuseValueAt(2, ERROR_KEY_DELETED);
        faults.RefuseKeyDeletion(box.Subkey(L"key"), ERROR_ACCESS_DENIED);
        EXPECT_EQ(_ERROR_FAILED, Delete(L"key"));
    }
    EXPECT_TRUE(log.Has(LogError, here, L"GetValues failed _ERROR_UNKNOWN"));
    EXPECT_EQ(1, box.HasValue(L"key", L"a") + box.HasValue(L"key", L"b") + box.HasValue(L"key", L"c"));
    EXPECT_FALSE(box.HasKey(L"key\\sub"));
}

TEST_F(KeyDeletionTest, SubkeysThatCannotBeListedKeepTheKey)
{
    box.AddKey(L"key\\a");
    box.AddKey(L"key\\b");
    {
        RegistryFaults faults;
        faults.RefuseSubkeyAt(1, ERROR_KEY_DELETED);
        EXPECT_EQ(_ERROR_FAILED, Delete(L"key"));
    }
    EXPECT_TRUE(log.Has(LogError, here, L"GetSubKeys failed _ERROR_UNKNOWN"));
    EXPECT_EQ(1, box.HasKey(L"key\\a") + box.HasKey(L"key\\b"));
}

TEST_F(KeyDeletionTest, GrownKeyGoesWhole)
{
    box.AddText(L"key\\" + std::wstring(255, L'k'), std::wstring(300, L'n'), L"data");
    box.AddText(L"key", std::wstring(16383, L'n'), L"data");
    {
        RegistryFaults faults;
        faults.HideMaxima();
        EXPECT_EQ(_ERROR_SUCCESS, Delete(L"key"));
    }
    EXPECT_FALSE(box.HasKey(L"key"));
    EXPECT_TRUE(log.HasNoneAt(LogError));
}

// Sizes.

TEST_F(KeyDeletionTest, LongestNamesGo)
{
    const std::wstring longKey = L"key\\" + std::wstring(255, L'k');
    box.AddText(longKey, std::wstring(16383, L'n'), L"data");
    EXPECT_EQ(_ERROR_SUCCESS, Delete(L"key", &used));
    EXPECT_FALSE(box.HasKey(L"key"));
    EXPECT_EQ(L"value " + box.Path(longKey) + L" | " + std::wstring(16383, L'n'), used.Asked().back());
}

TEST_F(KeyDeletionTest, ValuesOfEveryTypeGo)
{
    constexpr DWORD types[] = {REG_NONE, REG_SZ,       REG_EXPAND_SZ,     REG_BINARY, REG_DWORD, REG_DWORD_BIG_ENDIAN,
                               REG_LINK, REG_MULTI_SZ, REG_RESOURCE_LIST, REG_QWORD,  0x12345};
    for (const DWORD type : types)
        box.AddData(L"key", std::to_wstring(type), type, L"data", 4);
    const RegistryFaults faults;
    EXPECT_EQ(_ERROR_SUCCESS, Delete(L"key"));
    EXPECT_EQ(11, std::count_if(faults.Calls().begin(), faults.Calls().end(),
                                [](const std::wstring& call) { return call.starts_with(L"delete value "); }));
    EXPECT_TRUE(log.HasNoneAt(LogError));
}

TEST_F(KeyDeletionTest, ManyValuesAndSubkeysGo)
{
    for (int i = 0; i < 5000; ++i)
        box.AddText(L"key", std::to_wstring(i), L"data");
    for (int i = 0; i < 2000; ++i)
        box.AddKey(L"key\\" + std::to_wstring(i));
    log.Pause();
    EXPECT_EQ(_ERROR_SUCCESS, Delete(L"key"));
    EXPECT_FALSE(box.HasKey(L"key"));
}

class DeepKeyTest : public KeyDeletionTest
{
protected:
    DeepKeyTest()
    {
        for (int i = 0; i < 59; ++i)
            deep += L"\\level" + std::to_wstring(i);
        box.AddText(deep, L"value", L"data");
    }

    std::wstring deep = L"key";
};

TEST_F(DeepKeyTest, TreeOfSixtyLevelsGoes)
{
    EXPECT_EQ(_ERROR_SUCCESS, Delete(L"key"));
    EXPECT_FALSE(box.HasKey(L"key"));
}

TEST_F(DeepKeyTest, ValueInUseAtTheBottomKeepsAllSixtyLevels)
{
    box.AddKey(L"key\\level0\\sibling");
    used.Claim(L"value " + box.Path(deep) + L" | value");
    EXPECT_EQ(_ERROR_SUCCESS, Delete(L"key", &used));
    EXPECT_TRUE(box.HasValue(deep, L"value"));
    EXPECT_FALSE(box.HasKey(L"key\\level0\\sibling"));
    EXPECT_TRUE(log.HasNoneAt(LogError));
}

// DeleteKeyEx by itself.

TEST_F(KeyDeletionTest, DeleteKeyExGivesThePlatformsCode)
{
    box.AddKey(L"key\\sub");
    const std::wstring key = box.Subkey(L"key");
    EXPECT_EQ(ERROR_ACCESS_DENIED, CRegKeyHelper::DeleteKeyEx(HKEY_CURRENT_USER, key.c_str(), KEY_ALL_ACCESS));
    const std::wstring sub = box.Subkey(L"key\\sub");
    EXPECT_EQ(ERROR_SUCCESS, CRegKeyHelper::DeleteKeyEx(HKEY_CURRENT_USER, sub.c_str(), KEY_ALL_ACCESS));
    EXPECT_EQ(ERROR_FILE_NOT_FOUND, CRegKeyHelper::DeleteKeyEx(HKEY_CURRENT_USER, sub.c_str(), KEY_ALL_ACCESS));
    EXPECT_TRUE(log.Records().empty());
}

} // namespace
} // namespace prodsweep
