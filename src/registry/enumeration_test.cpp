#include "registry/reg_key_helper.h"

#include "common/unique_reg_key.h"
#include "support/registry_faults.h"
#include "support/registry_fixture.h"

#include <gmock/gmock.h>

#include <algorithm>

namespace prodsweep {

// For the messages of the tests.
static void PrintTo(const RegValueRecord& record, std::ostream* out)
{
    *out << test::Narrow(record.name) << " = \"" << test::Narrow(record.data) << "\" of type " << record.type;
}

static bool operator==(const RegValueRecord& left, const RegValueRecord& right)
{
    return left.name == right.name && left.data == right.data && left.type == right.type;
}

namespace {

using namespace std::string_view_literals;
using test::RegistryFaults;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

class EnumerationTest : public test::RegistryFixture
{
protected:
    static UniqueRegKey Open(const std::wstring& subkey)
    {
        HKEY key = nullptr;
        EXPECT_EQ(ERROR_SUCCESS, RegOpenKeyExW(HKEY_CURRENT_USER, subkey.c_str(), 0, KEY_ALL_ACCESS, &key));
        return UniqueRegKey(key);
    }
    UniqueRegKey Open() { return Open(box.Subkey()); }

    std::vector<RegValueRecord> records;
    WideStringList names;
};

const std::wstring longName(16383, L'n');
const std::wstring longKeyName(255, L'k');

TEST_F(EnumerationTest, RecordsHoldNameDataAndType)
{
    box.AddText(L"", L"name", L"data");
    box.AddText(L"", L"", L"of the default value", REG_EXPAND_SZ);

    EXPECT_EQ(_ERROR_SUCCESS, CRegKeyHelper::GetValues(Open().get(), records));

    EXPECT_THAT(records, UnorderedElementsAre(RegValueRecord{L"name", L"data", REG_SZ},
                                              RegValueRecord{L"", L"of the default value", REG_EXPAND_SZ}));
    EXPECT_TRUE(log.Records().empty());
}

TEST_F(EnumerationTest, NamesAreThoseOfAllValues)
{
    box.AddText(L"", L"one", L"1");
    box.AddText(L"", L"", L"default");
    box.AddText(L"", L"two", L"2");

    EXPECT_EQ(_ERROR_SUCCESS, CRegKeyHelper::GetValues(Open().get(), names));

    EXPECT_THAT(names, UnorderedElementsAre(L"one", L"", L"two"));
}

TEST_F(EnumerationTest, EachNameIsTracedWithItsIndex)
{
    box.AddText(L"", L"only", L"1");
    EXPECT_EQ(_ERROR_SUCCESS, CRegKeyHelper::GetValues(Open().get(), names));
    EXPECT_TRUE(log.Has(LogTrace, "CRegKeyHelper::GetValues", L"\"only\" 0"));

    box.AddText(L"", L"then", L"2");
    EXPECT_EQ(_ERROR_SUCCESS, CRegKeyHelper::GetValues(Open().get(), names));
    EXPECT_TRUE(log.Has(LogTrace, "CRegKeyHelper::GetValues", L"\"" + names.back() + L"\" 1"));
}

TEST_F(EnumerationTest, OrderIsThatOfTheRegistry)
{
    for (const wchar_t* const name : {L"c", L"a", L"b"})
    {
        box.AddText(L"", name, L"");
        box.AddKey(name);
    }
    const UniqueRegKey key = Open();
    EXPECT_EQ(_ERROR_SUCCESS, CRegKeyHelper::GetValues(key.get(), names));
    EXPECT_EQ(_ERROR_SUCCESS, CRegKeyHelper::GetValues(key.get(), records));
    WideStringList subkeys;
    EXPECT_EQ(_ERROR_SUCCESS, CRegKeyHelper::GetSubKeys(key.get(), subkeys));

    wchar_t name[10] = {};
    for (DWORD i = 0; i < 3; ++i)
    {
        DWORD length = 10;
        ASSERT_EQ(ERROR_SUCCESS, RegEnumValueW(key.get(), i, name, &length, nullptr, nullptr, nullptr, nullptr));
        EXPECT_EQ(name, names[i]);
        EXPECT_EQ(name, records[i].name);
        ASSERT_EQ(ERROR_SUCCESS, RegEnumKeyW(key.get(), i, name, 10));
        EXPECT_EQ(name, subkeys[i]);
    }
}

TEST_F(EnumerationTest, ListsAreAppendedTo)
{
    box.AddText(L"", L"value", L"data");
    box.AddKey(L"subkey");
    names = {L"before"};
    records = {{L"before", L"", REG_NONE}};

    EXPECT_EQ(_ERROR_SUCCESS, CRegKeyHelper::GetValues(Open().get(), names));
    EXPECT_EQ(_ERROR_SUCCESS, CRegKeyHelper::GetSubKeys(Open().get(), names));
    EXPECT_EQ(_ERROR_SUCCESS, CRegKeyHelper::GetValues(Open().get(), records));

    EXPECT_THAT(names, ElementsAre(L"before", L"value", L"subkey"));
    EXPECT_THAT(records,
                ElementsAre(RegValueRecord{L"before", L"", REG_NONE}, RegValueRecord{L"value", L"data", REG_SZ}));
}

TEST_F(EnumerationTest, EmptyKeyGivesNothing)
{
    EXPECT_EQ(_ERROR_SUCCESS, CRegKeyHelper::GetValues(Open().get(), names));
    EXPECT_EQ(_ERROR_SUCCESS, CRegKeyHelper::GetSubKeys(Open().get(), names));
    EXPECT_EQ(_ERROR_SUCCESS, CRegKeyHelper::GetValues(Open().get(), records));
    EXPECT_THAT(names, IsEmpty());
    EXPECT_THAT(records, IsEmpty());
}

TEST_F(EnumerationTest, LongestNamesAreReadWhole)
{
    box.AddText(L"", longName, L"data");
    box.AddKey(longKeyName);

    EXPECT_EQ(_ERROR_SUCCESS, CRegKeyHelper::GetValues(Open().get(), names));
    EXPECT_EQ(_ERROR_SUCCESS, CRegKeyHelper::GetSubKeys(Open().get(), names));
    EXPECT_EQ(_ERROR_SUCCESS, CRegKeyHelper::GetValues(Open().get(), records));

    EXPECT_THAT(names, ElementsAre(longName, longKeyName));
    EXPECT_THAT(records, ElementsAre(RegValueRecord{longName, L"data", REG_SZ}));
}

TEST_F(EnumerationTest, ManyEntriesAreAllRead)
{
    for (int i = 0; i < 5000; ++i)
        box.AddText(L"", std::to_wstring(i), L"");
    for (int i = 0; i < 2000; ++i)
        box.AddKey(std::to_wstring(i));
    log.Pause();
    WideStringList subkeys;

    EXPECT_EQ(_ERROR_SUCCESS, CRegKeyHelper::GetValues(Open().get(), names));
    EXPECT_EQ(_ERROR_SUCCESS, CRegKeyHelper::GetValues(Open().get(), records));
    EXPECT_EQ(_ERROR_SUCCESS, CRegKeyHelper::GetSubKeys(Open().get(), subkeys));

    EXPECT_EQ(5000U, names.size());
    EXPECT_EQ(5000U, records.size());
    EXPECT_EQ(2000U, subkeys.size());
    std::sort(names.begin(), names.end());
    EXPECT_EQ(names.end(), std::unique(names.begin(), names.end()));
}

TEST_F(EnumerationTest, EachEntryTakesOneCall)
{
    box.AddText(L"", L"ab", L"data");
    box.AddKey(L"child");
    const UniqueRegKey key = Open();
    const RegistryFaults faults;

    EXPECT_EQ(_ERROR_SUCCESS, CRegKeyHelper::GetValues(key.get(), names));
    EXPECT_EQ(_ERROR_SUCCESS, CRegKeyHelper::GetValues(key.get(), records));
    EXPECT_EQ(_ERROR_SUCCESS, CRegKeyHelper::GetSubKeys(key.get(), names));

    // Room for the longest name and its zero, and for the longest data and one byte more.
    EXPECT_THAT(faults.Calls(), ElementsAre(L"query", L"value 0 name=3", L"value 1 name=3",                 //
                                            L"query", L"value 0 name=3 data=11", L"value 1 name=3 data=11", //
                                            L"query", L"subkey 0 name=6", L"subkey 1 name=6"));
}

// Data of every type is read as text, up to the first zero.

struct DataCase
{
    const char* name;
    DWORD type;
    std::string bytes;
    const wchar_t* text;
};

class DataTest : public EnumerationTest, public testing::WithParamInterface<DataCase>
{};

TEST_P(DataTest, IsReadAsTextUpToTheFirstZero)
{
    // More behind it, because the system adds a zero that it finds there.
    const std::string padded = GetParam().bytes + "####";
    box.AddData(L"", L"value", GetParam().type, padded.data(), GetParam().bytes.size());
    // A longer neighbour makes the buffer longer than this data.
    box.AddText(L"", L"neighbour", std::wstring(100, L'x'));

    EXPECT_EQ(_ERROR_SUCCESS, CRegKeyHelper::GetValues(Open().get(), records));

    EXPECT_THAT(records, Contains(RegValueRecord{L"value", GetParam().text, GetParam().type}));
}

std::string Bytes(std::wstring_view text)
{
    return {reinterpret_cast<const char*>(text.data()), text.size() * sizeof(wchar_t)};
}

const DataCase dataCases[] = {
    {"Text", REG_SZ, Bytes(L"abc\0"sv), L"abc"},
    {"TextWithoutItsZero", REG_SZ, Bytes(L"abc"), L"abc"},
    {"TextWithAZeroInside", REG_SZ, Bytes(L"ab\0cd\0"sv), L"ab"},
    {"EmptyText", REG_SZ, Bytes(L"\0"sv), L""},
    {"NoDataAtAll", REG_SZ, "", L""},
    {"HalfACharacterAtTheEnd", REG_SZ, Bytes(L"ab") + "c", L"ab"},
    {"OneByte", REG_SZ, "a", L""},
    {"ExpandableTextStaysAsItIs", REG_EXPAND_SZ, Bytes(L"%TEMP%\0"sv), L"%TEMP%"},
    {"FirstOfSeveralTexts", REG_MULTI_SZ, Bytes(L"one\0two\0\0"sv), L"one"},
    {"Number", REG_DWORD, Bytes(L"A\0"sv), L"A"},
    {"BigEndianNumber", REG_DWORD_BIG_ENDIAN, Bytes(L"\0A"sv), L""},
    {"LongNumber", REG_QWORD, Bytes(L"AB\0\0"sv), L"AB"},
    {"Bytes", REG_BINARY, Bytes(L"raw"), L"raw"},
    {"NoType", REG_NONE, Bytes(L"none"), L"none"},
    {"Link", REG_LINK, Bytes(L"\\Registry\\X"), L"\\Registry\\X"},
    {"ResourceList", REG_RESOURCE_LIST, Bytes(L"r"), L"r"},
    {"TypeThatNobodyKnows", 0x12345, Bytes(L"x"), L"x"},
};
INSTANTIATE_TEST_SUITE_P(Types, DataTest, testing::ValuesIn(dataCases),
                         [](const auto& row) { return std::string(row.param.name); });

// Text without its zero in a buffer that held a longer text before.
TEST_F(EnumerationTest, DataEndsWhereItsSizeSays)
{
    box.AddText(L"", L"a", L"a long text comes first");
    box.AddData(L"", L"b", REG_SZ, L"xyz", 4);

    EXPECT_EQ(_ERROR_SUCCESS, CRegKeyHelper::GetValues(Open().get(), records));

    EXPECT_THAT(records, Contains(RegValueRecord{L"b", L"xy", REG_SZ}));
}

TEST_F(EnumerationTest, LargeDataIsReadWhole)
{
    const std::wstring large(600000, L'd');
    box.AddText(L"", L"large", large);
    EXPECT_EQ(_ERROR_SUCCESS, CRegKeyHelper::GetValues(Open().get(), records));
    EXPECT_THAT(records, ElementsAre(RegValueRecord{L"large", large, REG_SZ}));
}

// Failures.

TEST_F(EnumerationTest, FailedQueryIsUnknown)
{
    const UniqueRegKey key = Open();
    RegistryFaults faults;
    faults.RefuseQuery(ERROR_ACCESS_DENIED);

    EXPECT_EQ(_ERROR_UNKNOWN, CRegKeyHelper::GetValues(key.get(), names));
    EXPECT_EQ(1, log.Count(LogError, "CRegKeyHelper::GetValues", L"RegQueryInfoKey failed 0x5"));
    EXPECT_EQ(_ERROR_UNKNOWN, CRegKeyHelper::GetValues(key.get(), records));
    EXPECT_EQ(2, log.Count(LogError, "CRegKeyHelper::GetValues", L"RegQueryInfoKey failed 0x5"));
    EXPECT_EQ(_ERROR_UNKNOWN, CRegKeyHelper::GetSubKeys(key.get(), names));
    EXPECT_TRUE(log.Has(LogError, "CRegKeyHelper::GetSubKeys", L"RegQueryInfoKey failed 0x5"));

    EXPECT_THAT(faults.Calls(), ElementsAre(L"query", L"query", L"query"));
}

TEST_F(EnumerationTest, WhatWasReadBeforeAFailureStaysInTheList)
{
    for (const wchar_t* const name : {L"a", L"b", L"c"})
    {
        box.AddText(L"", name, L"");
        box.AddKey(name);
    }
    const UniqueRegKey key = Open();
    RegistryFaults faults;
    faults.RefuseValueAt(2, ERROR_KEY_DELETED);
    faults.RefuseSubkeyAt(1, ERROR_KEY_DELETED);

    EXPECT_EQ(_ERROR_UNKNOWN, CRegKeyHelper::GetValues(key.get(), names));
    EXPECT_EQ(2U, names.size());
    EXPECT_EQ(1, log.Count(LogError, "CRegKeyHelper::GetValues", L"RegEnumValue failed 0x3fa"));
    EXPECT_EQ(_ERROR_UNKNOWN, CRegKeyHelper::GetValues(key.get(), records));
    EXPECT_EQ(2U, records.size());
    EXPECT_EQ(2, log.Count(LogError, "CRegKeyHelper::GetValues", L"RegEnumValue failed 0x3fa"));
    names.clear();
    EXPECT_EQ(_ERROR_UNKNOWN, CRegKeyHelper::GetSubKeys(key.get(), names));
    EXPECT_EQ(1U, names.size());
    EXPECT_TRUE(log.Has(LogError, "CRegKeyHelper::GetSubKeys", L"RegEnumKeyEx failed 0x3fa"));
}

TEST_F(EnumerationTest, KeyThatIsNoneIsUnknown)
{
    EXPECT_EQ(_ERROR_UNKNOWN, CRegKeyHelper::GetValues(nullptr, names));
    EXPECT_EQ(_ERROR_UNKNOWN, CRegKeyHelper::GetValues(nullptr, records));
    EXPECT_EQ(_ERROR_UNKNOWN, CRegKeyHelper::GetSubKeys(nullptr, names));
    EXPECT_TRUE(log.Has(LogError, "CRegKeyHelper::GetSubKeys", L"RegQueryInfoKey failed 0x6"));
}

// Keys that grow between the question for their maxima and the reading.

TEST_F(EnumerationTest, GrownKeyIsReadWholeByTheRealSystem)
{
    for (const std::wstring& name : {std::wstring(L"a"), std::wstring(300, L'b'), longName})
        box.AddText(L"", name, L"data of " + name.substr(0, 1));
    for (const std::wstring& name : {std::wstring(L"a"), longKeyName})
        box.AddKey(name);
    const UniqueRegKey key = Open();
    RegistryFaults faults;
    faults.HideMaxima();
    WideStringList subkeys;

    EXPECT_EQ(_ERROR_SUCCESS, CRegKeyHelper::GetValues(key.get(), names));
    EXPECT_EQ(_ERROR_SUCCESS, CRegKeyHelper::GetValues(key.get(), records));
    EXPECT_EQ(_ERROR_SUCCESS, CRegKeyHelper::GetSubKeys(key.get(), subkeys));

    EXPECT_THAT(names, UnorderedElementsAre(L"a", std::wstring(300, L'b'), longName));
    EXPECT_THAT(records, UnorderedElementsAre(RegValueRecord{L"a", L"data of a", REG_SZ},
                                              RegValueRecord{std::wstring(300, L'b'), L"data of b", REG_SZ},
                                              RegValueRecord{longName, L"data of n", REG_SZ}));
    EXPECT_THAT(subkeys, UnorderedElementsAre(L"a", longKeyName));
}

class GrowthTest : public EnumerationTest
{
protected:
    GrowthTest()
    {
        box.AddText(L"", L"ab", L"data"); // buffers of 3 characters and 11 bytes
        box.AddKey(L"child");             // a buffer of 6 characters
        key = Open();
    }
    void TearDown() override
    {
        key.reset();
        RegistryFixture::TearDown();
    }

    UniqueRegKey key;
};

TEST_F(GrowthTest, LongerNameGetsItsRoomAndIsReadAgain)
{
    RegistryFaults faults;
    faults.MoreForValueAt(0, 20, RegistryFaults::Unchanged);

    EXPECT_EQ(_ERROR_SUCCESS, CRegKeyHelper::GetValues(key.get(), names));

    EXPECT_THAT(names, ElementsAre(L"ab"));
    EXPECT_THAT(faults.Calls(), ElementsAre(L"query", L"value 0 name=3", L"value 0 name=21", L"value 1 name=21"));
    EXPECT_EQ(1, log.Count(LogTrace, "CRegKeyHelper::GetValues", L"RegEnumValue ERROR_MORE_DATA  Index = 0"));
    EXPECT_TRUE(log.HasNoneAt(LogError));
}

TEST_F(GrowthTest, RetryTellsTheIndexOfTheValue)
{
    box.AddText(L"", L"cd", L"");
    RegistryFaults faults;
    faults.MoreForValueAt(1, 20, RegistryFaults::Unchanged);
    EXPECT_EQ(_ERROR_SUCCESS, CRegKeyHelper::GetValues(key.get(), names));
    EXPECT_THAT(names, UnorderedElementsAre(L"ab", L"cd"));
    EXPECT_TRUE(log.Has(LogTrace, "CRegKeyHelper::GetValues", L"RegEnumValue ERROR_MORE_DATA  Index = 1"));
}

TEST_F(GrowthTest, NameAndDataOfARecordGrowEachForItself)
{
    RegistryFaults faults;
    faults.MoreForValueAt(0, 20, 5);
    faults.MoreForValueAt(0, 2, 40);
    faults.MoreForValueAt(0, 30, 50);

    EXPECT_EQ(_ERROR_SUCCESS, CRegKeyHelper::GetValues(key.get(), records));

    EXPECT_THAT(records, ElementsAre(RegValueRecord{L"ab", L"data", REG_SZ}));
    EXPECT_THAT(faults.Calls(),
                ElementsAre(L"query", L"value 0 name=3 data=11", L"value 0 name=21 data=11", L"value 0 name=21 data=41",
                            L"value 0 name=31 data=51", L"value 1 name=31 data=51"));
    EXPECT_EQ(3, log.Count(LogTrace, "CRegKeyHelper::GetValues", L"RegEnumValue ERROR_MORE_DATA"));
}

TEST_F(GrowthTest, LengthsThatFitLeaveTheBuffersForASecondTry)
{
    RegistryFaults faults;
    faults.MoreForValueAt(0, 1, 1);

    EXPECT_EQ(_ERROR_SUCCESS, CRegKeyHelper::GetValues(key.get(), records));

    EXPECT_THAT(faults.Calls(),
                ElementsAre(L"query", L"value 0 name=3 data=11", L"value 0 name=3 data=11", L"value 1 name=3 data=11"));
}

TEST_F(GrowthTest, LengthEqualToTheBuffersDoesNotExceedIt)
{
    RegistryFaults faults;
    faults.MoreForValueAt(0, 3, RegistryFaults::Unchanged);
    EXPECT_EQ(_ERROR_SUCCESS, CRegKeyHelper::GetValues(key.get(), names));
    EXPECT_THAT(faults.Calls(), ElementsAre(L"query", L"value 0 name=3", L"value 0 name=3", L"value 1 name=3"));
}

TEST_F(GrowthTest, NameWhoseLengthIsNotToldGetsMoreRoomAfterTheSecondTry)
{
    RegistryFaults faults;
    for (int i = 0; i < 3; ++i)
        faults.MoreForValueAt(0, RegistryFaults::Unchanged, RegistryFaults::Unchanged);

    EXPECT_EQ(_ERROR_SUCCESS, CRegKeyHelper::GetValues(key.get(), names));

    EXPECT_THAT(names, ElementsAre(L"ab"));
    EXPECT_THAT(faults.Calls(), ElementsAre(L"query", L"value 0 name=3", L"value 0 name=3", L"value 0 name=256",
                                            L"value 0 name=512", L"value 1 name=512"));
}

TEST_F(GrowthTest, EachValueHasASecondTryOfItsOwn)
{
    box.AddText(L"", L"cd", L"");
    RegistryFaults faults;
    faults.MoreForValueAt(0, RegistryFaults::Unchanged, RegistryFaults::Unchanged);
    faults.MoreForValueAt(1, RegistryFaults::Unchanged, RegistryFaults::Unchanged);

    EXPECT_EQ(_ERROR_SUCCESS, CRegKeyHelper::GetValues(key.get(), names));

    EXPECT_THAT(faults.Calls(), ElementsAre(L"query", L"value 0 name=3", L"value 0 name=3", L"value 1 name=3",
                                            L"value 1 name=3", L"value 2 name=3"));
}

TEST_F(GrowthTest, LongerSubkeyGetsItsRoomWithoutALogLine)
{
    RegistryFaults faults;
    faults.MoreForSubkeyAt(0, 20);
    faults.MoreForSubkeyAt(0, RegistryFaults::Unchanged);

    EXPECT_EQ(_ERROR_SUCCESS, CRegKeyHelper::GetSubKeys(key.get(), names));

    EXPECT_THAT(names, ElementsAre(L"child"));
    EXPECT_THAT(faults.Calls(), ElementsAre(L"query", L"subkey 0 name=6", L"subkey 0 name=21", L"subkey 0 name=22",
                                            L"subkey 1 name=22"));
    EXPECT_TRUE(log.Records().empty());
}

TEST_F(GrowthTest, SystemThatNeverHasEnoughRoomIsGivenUp)
{
    RegistryFaults faults;
    faults.MoreForever();

    EXPECT_EQ(_ERROR_UNKNOWN, CRegKeyHelper::GetValues(key.get(), names));
    EXPECT_EQ(1, log.Count(LogError, "CRegKeyHelper::GetValues", L"RegEnumValue failed 0x7a"));
    EXPECT_EQ(_ERROR_UNKNOWN, CRegKeyHelper::GetValues(key.get(), records));
    EXPECT_EQ(2, log.Count(LogError, "CRegKeyHelper::GetValues", L"RegEnumValue failed 0x7a"));
    EXPECT_EQ(_ERROR_UNKNOWN, CRegKeyHelper::GetSubKeys(key.get(), names));
    EXPECT_TRUE(log.Has(LogError, "CRegKeyHelper::GetSubKeys", L"RegEnumKeyEx failed 0x7a"));
    EXPECT_THAT(names, IsEmpty());
    EXPECT_THAT(records, IsEmpty());
}

} // namespace
} // namespace prodsweep
