#include "registry/reg_key_helper.h"

#include "common/unique_reg_key.h"
#include "support/registry_faults.h"
#include "support/registry_fixture.h"

#include <gmock/gmock.h>

namespace prodsweep {
namespace {

using test::RegistryFaults;
using testing::ElementsAre;

class PresenceTest : public test::RegistryFixture
{
protected:
    std::wstring Short(const std::wstring& relative) const { return L"HKCU\\" + box.Subkey(relative); }

    int CheckKey(const std::wstring& relative) { return CRegKeyHelper::CheckKey(Short(relative).c_str(), false); }
    int CheckValue(const std::wstring& value)
    {
        return CRegKeyHelper::CheckValue(Short(L"key").c_str(), value.c_str(), false);
    }
    UniqueRegKey OpenBox()
    {
        HKEY key = nullptr;
        EXPECT_EQ(ERROR_SUCCESS, RegOpenKeyExW(HKEY_CURRENT_USER, box.Subkey().c_str(), 0, KEY_ALL_ACCESS, &key));
        return UniqueRegKey(key);
    }
};

class CheckKeyTest : public PresenceTest
{
protected:
    const char* const here = "CRegKeyHelper::CheckKey";
};

TEST_F(CheckKeyTest, PresentKeyIsFound)
{
    box.AddKey(L"key");
    EXPECT_EQ(_ERROR_SUCCESS, CheckKey(L"key"));
    EXPECT_EQ(_ERROR_SUCCESS, CheckKey(L"KEY"));
    EXPECT_TRUE(log.Has(LogTrace, here, L"->\"" + Short(L"key") + L"\""));
    EXPECT_TRUE(log.Has(LogTrace, here, L"\"HKEY_CURRENT_USER\" \\ \"" + box.Subkey(L"key") + L"\""));
    EXPECT_TRUE(log.HasNoneAt(LogError));
}

TEST_F(CheckKeyTest, MissingKeyIsNotFound)
{
    box.AddKey(L"key2");
    EXPECT_EQ(_ERROR_NOT_FOUND, CheckKey(L"key"));
    EXPECT_TRUE(log.Has(LogError, here, L"RegOpenKeyEx \"" + box.Subkey(L"key") + L"\" failed 0x2"));
}

TEST_F(CheckKeyTest, KeyThatMayNotBeChangedCountsAsNotFound)
{
    box.AddKey(L"key");
    RegistryFaults faults;
    faults.RefuseOpen(box.Subkey(L"key"), ERROR_ACCESS_DENIED);
    EXPECT_EQ(_ERROR_NOT_FOUND, CheckKey(L"key"));
    EXPECT_TRUE(log.Has(LogError, here, L"RegOpenKeyEx \"" + box.Subkey(L"key") + L"\" failed 0x5"));
    EXPECT_THAT(faults.Calls(), ElementsAre(L"open " + box.Subkey(L"key") + L" 0xf003f"));
}

TEST_F(CheckKeyTest, PathWithoutAKnownHiveIsNotFound)
{
    for (const wchar_t* const path : {L"", L"\\", L"HKCU", L"hkcu\\Software", L"Software"})
        EXPECT_EQ(_ERROR_NOT_FOUND, CRegKeyHelper::CheckKey(path, false));
}

TEST_F(CheckKeyTest, HiveAloneIsFound) { EXPECT_EQ(_ERROR_SUCCESS, CRegKeyHelper::CheckKey(L"HKCU\\", false)); }

TEST_F(CheckKeyTest, HiveWithoutANameIsTracedByTheSubkeyAlone)
{
    box.AddKey(L"key");
    const UniqueRegKey opened = OpenBox();
    EXPECT_EQ(_ERROR_SUCCESS, CRegKeyHelper::CheckKey(opened.get(), L"key", false));
    EXPECT_TRUE(log.Has(LogTrace, here, L"\"key\""));
    EXPECT_EQ(_ERROR_NOT_FOUND, CRegKeyHelper::CheckKey(opened.get(), L"missing", false));
    EXPECT_TRUE(log.Has(LogError, here, L"RegOpenKeyEx \"missing\" failed 0x2"));
}

TEST_F(CheckKeyTest, LongestNameIsFound)
{
    const std::wstring longest(255, L'k');
    EXPECT_EQ(_ERROR_NOT_FOUND, CheckKey(longest));
    box.AddKey(longest);
    EXPECT_EQ(_ERROR_SUCCESS, CheckKey(longest));
    EXPECT_EQ(_ERROR_NOT_FOUND, CheckKey(std::wstring(32767, L'k')));
}

class CheckValueTest : public PresenceTest
{
protected:
    const char* const here = "CRegKeyHelper::CheckValue";
};

TEST_F(CheckValueTest, PresentValueIsFoundWhateverItsType)
{
    for (const DWORD type : {DWORD{REG_NONE}, DWORD{REG_SZ}, DWORD{REG_DWORD}, DWORD{REG_MULTI_SZ}, DWORD{0x12345}})
        box.AddData(L"key", std::to_wstring(type), type, L"data", 4);
    EXPECT_EQ(_ERROR_SUCCESS, CheckValue(L"0"));
    EXPECT_EQ(_ERROR_SUCCESS, CheckValue(L"1"));
    EXPECT_EQ(_ERROR_SUCCESS, CheckValue(L"4"));
    EXPECT_EQ(_ERROR_SUCCESS, CheckValue(L"7"));
    EXPECT_EQ(_ERROR_SUCCESS, CheckValue(L"74565"));
    EXPECT_TRUE(log.HasNoneAt(LogError));
}

TEST_F(CheckValueTest, EntryIsTraced)
{
    box.AddText(L"key", L"value", L"data");
    EXPECT_EQ(_ERROR_SUCCESS, CheckValue(L"value"));
    // Without the arrow that the other operations put in front.
    EXPECT_TRUE(log.Has(LogTrace, here, L"\"" + Short(L"key") + L"\" \"value\""));
    EXPECT_TRUE(log.Has(LogTrace, here, L"\"HKEY_CURRENT_USER\" \\ \"" + box.Subkey(L"key") + L"\""));
}

TEST_F(CheckValueTest, MissingPlainNameIsNotFoundWithoutALine)
{
    box.AddText(L"key", L"value", L"data");
    EXPECT_EQ(_ERROR_NOT_FOUND, CheckValue(L"missing"));
    EXPECT_EQ(_ERROR_NOT_FOUND, CheckValue(L""));
    EXPECT_TRUE(log.HasNoneAt(LogError));
}

TEST_F(CheckValueTest, EmptyNameIsTheDefaultValue)
{
    box.AddText(L"key", L"", L"data");
    EXPECT_EQ(_ERROR_SUCCESS, CheckValue(L""));
}

TEST_F(CheckValueTest, MissingKeyIsNotFound)
{
    EXPECT_EQ(_ERROR_NOT_FOUND, CheckValue(L"value"));
    EXPECT_EQ(_ERROR_NOT_FOUND, CheckValue(L"*"));
    EXPECT_EQ(2, log.Count(LogError, here,
                           L"RegOpenKeyEx \"HKEY_CURRENT_USER\" \\ \"" + box.Subkey(L"key") + L"\" failed 0x2"));
}

TEST_F(CheckValueTest, HiveWithoutANameIsToldByTheSubkeyAlone)
{
    box.AddText(L"key", L"value", L"data");
    const UniqueRegKey opened = OpenBox();
    EXPECT_EQ(_ERROR_SUCCESS, CRegKeyHelper::CheckValue(opened.get(), L"key", L"value", false));
    EXPECT_TRUE(log.Has(LogTrace, here, L"\"key\""));
    EXPECT_EQ(_ERROR_NOT_FOUND, CRegKeyHelper::CheckValue(opened.get(), L"missing", L"value", false));
    EXPECT_TRUE(log.Has(LogError, here, L"RegOpenKeyEx \"missing\" failed 0x2"));
}

TEST_F(CheckValueTest, PathWithoutAKnownHiveIsNotFound)
{
    for (const wchar_t* const path : {L"", L"HKCU", L"hkcu\\Software"})
        EXPECT_EQ(_ERROR_NOT_FOUND, CRegKeyHelper::CheckValue(path, L"value", false));
}

struct CheckCase
{
    const char* name;
    const wchar_t* pattern;
    WideStringList values;
    int result;
};

class CheckPatternTest : public CheckValueTest, public testing::WithParamInterface<CheckCase>
{};

TEST_P(CheckPatternTest, FindsOrFails)
{
    box.AddKey(L"key");
    for (const std::wstring& value : GetParam().values)
        box.AddText(L"key", value, L"data");
    EXPECT_EQ(GetParam().result, CheckValue(GetParam().pattern));
    EXPECT_TRUE(log.HasNoneAt(LogError));
}

// A pattern that matches nothing is a failure, not "not found".
const CheckCase checkCases[] = {
    {"Prefix", L"abc*", {L"x", L"abcx"}, _ERROR_SUCCESS},
    {"PrefixWithoutAMatch", L"abc*", {L"xabc"}, _ERROR_FAILED},
    {"Suffix", L"*abc", {L"xabc"}, _ERROR_SUCCESS},
    {"SuffixThatComesTwice", L"*abc", {L"abcabc"}, _ERROR_FAILED},
    {"Inner", L"*abc*", {L"xabcx"}, _ERROR_SUCCESS},
    // Narrower than the deletion, which takes all three.
    {"InnerAlone", L"*abc*", {L"abc"}, _ERROR_FAILED},
    {"InnerAtTheStart", L"*abc*", {L"abcx"}, _ERROR_FAILED},
    {"InnerAtTheEnd", L"*abc*", {L"xabc"}, _ERROR_FAILED},
    {"LaterValueMatches", L"*abc*", {L"abc", L"abcx", L"xabc", L"xabcx"}, _ERROR_SUCCESS},
    {"OneStar", L"*", {L"abc", L""}, _ERROR_FAILED},
    {"TwoStars", L"**", {L"abc", L""}, _ERROR_FAILED},
    {"EmptyKey", L"abc*", {}, _ERROR_FAILED},
    {"AnotherCase", L"abc*", {L"ABCx"}, _ERROR_FAILED},
};
INSTANTIATE_TEST_SUITE_P(Shapes, CheckPatternTest, testing::ValuesIn(checkCases),
                         [](const auto& row) { return std::string(row.param.name); });

TEST_F(CheckValueTest, StarOnlyInsideIsRefusedInTheWordsOfTheDeletion)
{
    box.AddText(L"key", L"ab*c", L"data");
    EXPECT_EQ(_ERROR_FAILED, CheckValue(L"ab*c"));
    EXPECT_TRUE(log.Has(LogError, here, L"can't delete value \"ab*c\""));
}

TEST_F(CheckValueTest, WhatAFailedListingHoldsIsSearched)
{
    for (const wchar_t* const name : {L"a1", L"a2", L"a3"})
        box.AddText(L"key", name, L"data");
    RegistryFaults faults;
    faults.RefuseValueAt(2, ERROR_KEY_DELETED);
    EXPECT_EQ(_ERROR_SUCCESS, CheckValue(L"a*"));
    EXPECT_EQ(1, log.Count(LogError, here, L"GetValues failed _ERROR_UNKNOWN"));
    EXPECT_EQ(_ERROR_FAILED, CheckValue(L"b*"));
    EXPECT_EQ(2, log.Count(LogError, here, L"GetValues failed _ERROR_UNKNOWN"));
}

TEST_F(CheckValueTest, LongestNameIsFoundPlainAndByPattern)
{
    const std::wstring longest(16383, L'n');
    box.AddText(L"key", longest, L"data");
    EXPECT_EQ(_ERROR_SUCCESS, CheckValue(longest));
    EXPECT_EQ(_ERROR_SUCCESS, CheckValue(L"nnn*"));
    RegistryFaults faults;
    faults.HideMaxima();
    EXPECT_EQ(_ERROR_SUCCESS, CheckValue(L"nnn*"));
}

TEST_F(CheckValueTest, DataIsNotRead)
{
    box.AddText(L"key", L"value", L"data");
    const RegistryFaults faults;
    EXPECT_EQ(_ERROR_SUCCESS, CheckValue(L"val*"));
    EXPECT_THAT(faults.Calls(), ElementsAre(L"open " + box.Subkey(L"key") + L" 0xf003f", L"query", L"value 0 name=6",
                                            L"value 1 name=6"));
    EXPECT_TRUE(box.HasValue(L"key", L"value"));
}

} // namespace
} // namespace prodsweep
