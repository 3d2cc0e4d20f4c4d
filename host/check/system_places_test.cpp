#include "check/system_places.h"

#include <gtest/gtest.h>

#include <windows.h>

#include "forbidden_names.h"
#include "forbidden_places.h"
#include "profile_list.h"

namespace prodsweep {
namespace {

TEST(SystemPlacesTest, EachPathThatARemovalRefusesIsKnownAsAFolderAndAsAFile)
{
    for (const ForbiddenPath& place : ForbiddenPaths())
    {
        EXPECT_NE(nullptr, SystemFolder(place.path)) << place.path;
        EXPECT_NE(nullptr, SystemFile(place.path)) << place.path;
    }
}

TEST(SystemPlacesTest, EachKeyThatARemovalRefusesIsKnown)
{
    for (const ForbiddenKey& key : ForbiddenKeys())
        EXPECT_NE(nullptr, SystemKey({true, key.hive, {}, key.subkey})) << key.subkey;
    for (const CriticalName& service : CriticalServices())
        EXPECT_NE(nullptr, SystemKey({true, HKEY_LOCAL_MACHINE, {}, std::wstring(keyOfServices) + service.name}))
            << service.name;
}

TEST(SystemPlacesTest, KeysOfTheUserAndOfTheHardwareProfileAreKnownAsThoseOfTheMachine)
{
    for (const wchar_t* const key :
         {L"HKCU\\Software\\Clients", L"HKCU\\Software\\Microsoft\\Windows NT\\CurrentVersion", L"HKCU\\System",
          L"HKCU\\System\\CurrentControlSet\\Control", L"HKCC\\", L"HKCC\\Software", L"HKCC\\System\\CurrentControlSet",
          L"HKCC\\System\\CurrentControlSet\\Enum", L"HKCR\\CLSID", L"HKU\\.DEFAULT", L"HKPD\\", L"HKDD\\"})
        EXPECT_NE(nullptr, SystemKey(SplitKeyText(key))) << key;
    for (const wchar_t* const key : {L"HKCU\\System\\Anvil", L"HKCC\\Software\\Anvil", L"HKCU\\Software\\Anvil"})
        EXPECT_EQ(nullptr, SystemKey(SplitKeyText(key))) << key;
}

TEST(SystemPlacesTest, PlacesOfAnyProfileAreKnownAndTheirNeighboursAreNot)
{
    std::vector<std::wstring> profiles = ReadProfileList().roots;
    ASSERT_FALSE(profiles.empty());
    for (const std::wstring& folder : ProfilesFolders())
        profiles.push_back(folder + L"\\nobody of this machine");
    for (const std::wstring& profile : profiles)
    {
        EXPECT_NE(nullptr, SystemFolder(profile)) << profile;
        EXPECT_NE(nullptr, SystemFolder(profile + L"\\appdata")) << profile;
        EXPECT_EQ(nullptr, SystemFolder(profile + L"\\AppData\\Local\\Anvil")) << profile;
        EXPECT_STREQ("a user's settings of all programs", SystemFile(profile + L"\\ntuser.dat")) << profile;
        EXPECT_EQ(nullptr, SystemFile(profile + L"\\anvil.dat")) << profile;
    }
}

TEST(SystemPlacesTest, NeighboursOfSuchPlacesAreNot)
{
    EXPECT_EQ(nullptr, SystemFile(L"C:\\windows\\anvil.exe"));
    EXPECT_EQ(nullptr, SystemFolder(L"C:\\Program Files\\Anvil"));
}

} // namespace
} // namespace prodsweep
