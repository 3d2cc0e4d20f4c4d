#include "guard_rails.h"

#include <gtest/gtest.h>

#include <windows.h>

#include "forbidden_places.h"

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
