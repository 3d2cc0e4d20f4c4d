#include "guard_rails.h"

#include <gtest/gtest.h>

#include <windows.h>

#include "forbidden_places.h"
#include "registry/split_key_path.h"

namespace prodsweep {
namespace {

class GuardRailsTest : public testing::Test
{
protected:
    static std::string ReasonOf(const std::wstring& path)
    {
        static const CGuardRails rails(L"C:\\prodsweep test\\");
        const ForbiddenPlace* const place = rails.OfPath(path);
        return place != nullptr ? place->reason : "";
    }
    static const ForbiddenPlace* OfKey(const ForbiddenKey& key)
    {
        static const CGuardRails rails(L"C:\\prodsweep test\\");
        return rails.OfKey(key.hive, key.subkey);
    }
};

TEST_F(GuardRailsTest, ShortNameIsJudgedByTheLongOne)
{
    wchar_t shortName[MAX_PATH]{};
    ASSERT_NE(0u, GetShortPathNameW(L"C:\\Program Files", shortName, MAX_PATH));
    EXPECT_EQ("the folder of all programs", ReasonOf(shortName));
}

TEST_F(GuardRailsTest, FolderAboveAForbiddenOneIsForbiddenAndOneBesideItIsNot)
{
    EXPECT_EQ("the folder of prodsweep itself", ReasonOf(L"C:\\prodsweep test"));
    EXPECT_EQ("", ReasonOf(L"C:\\prodsweep tests"));
    EXPECT_EQ("", ReasonOf(L"C:\\prodsweep test\\other"));
    EXPECT_EQ("the root of a drive", ReasonOf(L"\\"));
}

TEST_F(GuardRailsTest, EachKeyOfTheTableIsForbiddenForItsReason)
{
    for (const ForbiddenKey& key : ForbiddenKeys())
    {
        const ForbiddenPlace* const place = OfKey(key);
        ASSERT_NE(nullptr, place) << key.reason;
        EXPECT_EQ(key.reason, place->reason);
    }
}

TEST_F(GuardRailsTest, EachHiveIsForbiddenAsAWhole)
{
    static const CGuardRails rails(L"C:\\prodsweep test\\");
    const CSplitKeyPath hives;
    for (const wchar_t* const name : {L"HKLM", L"HKCU", L"HKCR", L"HKU", L"HKCC", L"HKPD", L"HKDD"})
    {
        for (const wchar_t* const separator : {L"\\", L"/", L"\\\\"})
        {
            HKEY hive = nullptr;
            std::wstring subkey;
            ASSERT_TRUE(hives.Split((std::wstring(name) + separator).c_str(), hive, subkey));
            EXPECT_NE(nullptr, rails.OfKey(hive, subkey)) << name;
        }
    }
}

TEST_F(GuardRailsTest, FilesOfWindowsAndOfTheLibraryAreForbiddenAndTheirNeighboursAreNot)
{
    EXPECT_EQ("a file that Windows and most programs stand on", ReasonOf(L"C:\\windows\\System32\\KERNEL32.dll"));
    EXPECT_EQ("a file that Windows and most programs stand on", ReasonOf(L"C:\\windows\\syswow64\\ntdll.dll"));
    EXPECT_EQ("the desktop", ReasonOf(L"C:\\windows\\explorer.exe"));
    EXPECT_EQ("the names of the network", ReasonOf(L"C:\\windows\\system32\\drivers\\etc"));
    EXPECT_EQ("what Windows starts from", ReasonOf(L"C:\\bootmgr"));
    EXPECT_EQ("the logger of the library", ReasonOf(L"C:\\prodsweep test\\log.dll"));
    for (const wchar_t* const path : {L"C:\\windows\\system32\\anvil.dll", L"C:\\windows\\system32\\drivers\\anvil.sys",
                                      L"C:\\windows\\anvil.ini", L"C:\\prodsweep test\\anvil.log"})
        EXPECT_EQ("", ReasonOf(path)) << path;
}

struct ValueRow
{
    HKEY hive;
    const wchar_t* key;
    const wchar_t* pattern;
    bool forbidden;
};

TEST_F(GuardRailsTest, ValuesThatEverybodyNeedsAreForbiddenInEachSpelling)
{
    static const CGuardRails rails(L"C:\\prodsweep test\\");
    constexpr const wchar_t* environment = L"system\\ControlSet001\\Control\\Session Manager\\Environment\\";
    for (const ValueRow& row : {ValueRow{HKEY_LOCAL_MACHINE, environment, L"PATH", true},
                                {HKEY_LOCAL_MACHINE, environment, L"P*", true},
                                {HKEY_LOCAL_MACHINE, environment, L"ANVIL_PATH", false},
                                {HKEY_LOCAL_MACHINE, environment, L"ANVIL*", false},
                                {HKEY_CURRENT_USER, L"Environment", L"Path", true},
                                {HKEY_CURRENT_USER, L"Environment\\Anvil", L"Path", false},
                                {HKEY_USERS, L".DEFAULT\\Environment", L"Path", true},
                                {HKEY_CLASSES_ROOT, L".exe", L"", true},
                                {HKEY_CLASSES_ROOT, L".anvil", L"", false}})
        EXPECT_EQ(row.forbidden, rails.OfValue(row.hive, row.key, row.pattern) != nullptr) << row.key << row.pattern;
}

TEST_F(GuardRailsTest, CriticalServicesAreForbiddenByNameAndByKey)
{
    static const CGuardRails rails(L"C:\\prodsweep test\\");
    const std::wstring key = L"System\\ControlSet001\\Services\\";
    for (const wchar_t* const name : {L"disk", L"RPCSS", L"\\RpcSs\\"})
    {
        EXPECT_NE(nullptr, rails.OfService(name)) << name;
        EXPECT_NE(nullptr, rails.OfKey(HKEY_LOCAL_MACHINE, key + name)) << name;
    }
    EXPECT_EQ("a service that must stay: Windows does not start without it", rails.OfService(L"disk")->reason);
    EXPECT_EQ(nullptr, rails.OfService(L"diskette"));
    EXPECT_EQ(nullptr, rails.OfKey(HKEY_LOCAL_MACHINE, key + L"RpcSs\\Anvil"));
}

TEST(CriticalProcessTest, NamesAreComparedInAnyCaseAndAsAWhole)
{
    ASSERT_NE(nullptr, FindCriticalProcess(L"CSRSS.exe"));
    EXPECT_EQ(CriticalName::Judgement::Refused, FindCriticalProcess(L"CSRSS.exe")->judgement);
    EXPECT_EQ(CriticalName::Judgement::WarnedOf, FindCriticalProcess(L"Explorer.EXE")->judgement);
    EXPECT_EQ(nullptr, FindCriticalProcess(L"explorer"));
}

} // namespace
} // namespace prodsweep
