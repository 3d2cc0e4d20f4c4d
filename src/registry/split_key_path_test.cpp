#include "registry/split_key_path.h"

#include "common/unique_reg_key.h"
#include "environment/log.h"
#include "support/log_recorder.h"

#include <gtest/gtest.h>

#include <cstdint>

namespace prodsweep {
namespace {

struct Hive
{
    const wchar_t* longName;
    const wchar_t* shortName;
    std::uint32_t value;
};

constexpr Hive allHives[] = {
    {L"HKEY_LOCAL_MACHINE", L"HKLM", 0x80000002}, {L"HKEY_CURRENT_CONFIG", L"HKCC", 0x80000005},
    {L"HKEY_CLASSES_ROOT", L"HKCR", 0x80000000},  {L"HKEY_CURRENT_USER", L"HKCU", 0x80000001},
    {L"HKEY_USERS", L"HKU", 0x80000003},          {L"HKEY_PERFORMANCE_DATA", L"HKPD", 0x80000004},
    {L"HKEY_DYN_DATA", L"HKDD", 0x80000006},
};

// As the platform has them: the 32-bit value with its sign carried on.
HKEY RootKey(std::uint32_t value)
{
    return reinterpret_cast<HKEY>(static_cast<std::intptr_t>(static_cast<std::int32_t>(value)));
}

// Takes the tables away as if no path had been split in this process, and brings them back.
class EmptyTables : CSplitKeyPath
{
public:
    EmptyTables()
    {
        hivesBefore.swap(hives);
        namesBefore.swap(names);
    }
    ~EmptyTables()
    {
        hivesBefore.swap(hives);
        namesBefore.swap(names);
    }
    EmptyTables(const EmptyTables&) = delete;
    EmptyTables& operator=(const EmptyTables&) = delete;

    static std::size_t HiveCount() { return hives.size(); }
    static std::size_t NameCount() { return names.size(); }
    static const wchar_t* NameStorage() { return names.begin()->second.c_str(); }
    static void ForgetOneHive() { hives.erase(L"HKLM"); }

private:
    std::map<std::wstring, HKEY> hivesBefore;
    std::map<HKEY, std::wstring> namesBefore;
};

class SplitKeyPathTest : public testing::Test
{
protected:
    test::LogRecorder log;
    HKEY hive = nullptr;
    std::wstring subkey = L"before";
};

TEST_F(SplitKeyPathTest, EachSpellingGivesItsRootKey)
{
    for (const Hive& row : allHives)
    {
        for (const std::wstring spelling : {row.longName, row.shortName})
        {
            SCOPED_TRACE(test::Narrow(spelling));
            hive = nullptr;
            EXPECT_TRUE(CSplitKeyPath().Split((spelling + L"\\Software\\X").c_str(), hive, subkey));
            EXPECT_EQ(RootKey(row.value), hive);
            EXPECT_EQ(L"Software\\X", subkey);
        }
    }
    EXPECT_TRUE(log.Records().empty());
}

struct SplitCase
{
    const char* name;
    const wchar_t* path;
    std::uint32_t hive;
    const wchar_t* subkey;
};

class SplitsTest : public SplitKeyPathTest, public testing::WithParamInterface<SplitCase>
{};

TEST_P(SplitsTest, AtTheFirstSeparatorAndLeavesTheRestAsItIs)
{
    EXPECT_TRUE(CSplitKeyPath().Split(GetParam().path, hive, subkey));
    EXPECT_EQ(RootKey(GetParam().hive), hive);
    EXPECT_EQ(GetParam().subkey, subkey);
}

constexpr SplitCase splitCases[] = {
    {"SlashesStayInTheSubkey", L"HKEY_LOCAL_MACHINE/SOFTWARE/X", 0x80000002, L"SOFTWARE/X"},
    {"SlashAheadOfTheBackslash", L"HKU/S-1-5-18\\Software", 0x80000003, L"S-1-5-18\\Software"},
    {"BackslashAheadOfTheSlash", L"HKU\\S-1-5-18/Software", 0x80000003, L"S-1-5-18/Software"},
    {"EmptySubkey", L"HKLM\\", 0x80000002, L""},
    {"EmptySubkeyBehindASlash", L"HKLM/", 0x80000002, L""},
    {"DoubledSeparatorKeepsTheSecond", L"HKLM\\\\SOFTWARE", 0x80000002, L"\\SOFTWARE"},
    {"MixedSeparatorsKeepTheSecond", L"HKLM/\\SOFTWARE", 0x80000002, L"\\SOFTWARE"},
    {"BlanksAreNotTrimmed", L"HKLM\\ SOFTWARE ", 0x80000002, L" SOFTWARE "},
    {"TrailingSeparatorStays", L"HKLM\\SOFTWARE\\", 0x80000002, L"SOFTWARE\\"},
};
INSTANTIATE_TEST_SUITE_P(Paths, SplitsTest, testing::ValuesIn(splitCases),
                         [](const auto& row) { return std::string(row.param.name); });

struct RefusedCase
{
    const char* name;
    const wchar_t* path;
};

class RefusesTest : public SplitKeyPathTest, public testing::WithParamInterface<RefusedCase>
{};

TEST_P(RefusesTest, LogsTheWholePathAndTouchesNothing)
{
    hive = HKEY_USERS;

    EXPECT_FALSE(CSplitKeyPath().Split(GetParam().path, hive, subkey));

    EXPECT_EQ(HKEY_USERS, hive);
    EXPECT_EQ(L"before", subkey);
    EXPECT_EQ(
        1, log.Count(LogError, "CSplitKeyPath::Split", L"unknown base key \"" + std::wstring(GetParam().path) + L"\""));
}

constexpr RefusedCase refusedCases[] = {
    {"LowerCaseHive", L"hklm\\SOFTWARE"},
    {"MixedCaseHive", L"Hkey_Local_Machine\\SOFTWARE"},
    {"HiveAlone", L"HKLM"},
    {"EmptyText", L""},
    {"SeparatorAlone", L"\\"},
    {"NothingAheadOfTheSeparator", L"\\SOFTWARE"},
    {"UnknownHive", L"HKXX\\SOFTWARE"},
    {"BlankBehindTheHive", L"HKLM \\SOFTWARE"},
    {"BlankAheadOfTheHive", L" HKLM\\SOFTWARE"},
    {"HiveWithMoreBehindIt", L"HKLMX\\SOFTWARE"},
    {"StartOfAHive", L"HKL\\SOFTWARE"},
    {"OtherCharacterAsSeparator", L"HKLM:SOFTWARE"},
};
INSTANTIATE_TEST_SUITE_P(Paths, RefusesTest, testing::ValuesIn(refusedCases),
                         [](const auto& row) { return std::string(row.param.name); });

TEST_F(SplitKeyPathTest, FirstPartOfAnyLengthIsAnUnknownBaseKey)
{
    for (const std::size_t length : {259U, 260U, 261U, 32767U})
    {
        const std::wstring path = std::wstring(length, L'H') + L"\\SOFTWARE";
        EXPECT_FALSE(CSplitKeyPath().Split(path.c_str(), hive, subkey)) << length;
        EXPECT_TRUE(log.Has(LogError, "CSplitKeyPath::Split", L"unknown base key \"" + path + L"\"")) << length;
    }
    EXPECT_EQ(L"before", subkey);
}

TEST_F(SplitKeyPathTest, SubkeyOfAnyLengthIsTakenWhole)
{
    const std::wstring rest(32767, L'x');
    EXPECT_TRUE(CSplitKeyPath().Split((L"HKLM\\" + rest).c_str(), hive, subkey));
    EXPECT_EQ(rest, subkey);
}

TEST_F(SplitKeyPathTest, TablesAreFilledByTheFirstObjectOnly)
{
    const EmptyTables tables;
    const CSplitKeyPath first;
    EXPECT_EQ(14U, EmptyTables::HiveCount());
    EXPECT_EQ(7U, EmptyTables::NameCount());

    EmptyTables::ForgetOneHive();
    const CSplitKeyPath second;
    EXPECT_EQ(13U, EmptyTables::HiveCount());
    EXPECT_FALSE(second.Split(L"HKLM\\SOFTWARE", hive, subkey));
}

TEST(HiveNameTest, IsTheLongNameWhicheverSpellingWasSplit)
{
    const CSplitKeyPath filled;
    for (const Hive& row : allHives)
        EXPECT_STREQ(row.longName, HiveName(RootKey(row.value)));
}

TEST(HiveNameTest, EveryKeyIsUnknownBeforeTheFirstObject)
{
    const EmptyTables tables;
    for (const Hive& row : allHives)
        EXPECT_EQ(nullptr, HiveName(RootKey(row.value)));
    EXPECT_EQ(0U, EmptyTables::NameCount());
}

TEST(HiveNameTest, PointsIntoTheTable)
{
    const CSplitKeyPath filled;
    EXPECT_EQ(EmptyTables::NameStorage(), HiveName(HKEY_CLASSES_ROOT));
}

TEST(HiveNameTest, OtherKeysHaveNone)
{
    const CSplitKeyPath filled;
    EXPECT_EQ(nullptr, HiveName(nullptr));
    // The 32-bit value alone is no root key of a 64-bit process.
    EXPECT_EQ(nullptr, HiveName(reinterpret_cast<HKEY>(std::uintptr_t{0x80000002})));

    HKEY key = nullptr;
    ASSERT_EQ(ERROR_SUCCESS, RegOpenKeyExW(HKEY_LOCAL_MACHINE, L"SOFTWARE", 0, KEY_READ, &key));
    const UniqueRegKey owner(key);
    EXPECT_EQ(nullptr, HiveName(key));
}

} // namespace
} // namespace prodsweep
