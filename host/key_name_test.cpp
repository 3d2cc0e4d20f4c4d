#include "key_name.h"

#include <gtest/gtest.h>

namespace prodsweep {
namespace {

struct KeyCase
{
    HKEY hive;
    const wchar_t* subkey;
    const wchar_t* canonical;
};

class CanonicalKeyTest : public testing::TestWithParam<KeyCase>
{};

TEST_P(CanonicalKeyTest, AllNamesOfAKeyComeToOne)
{
    EXPECT_EQ(GetParam().canonical, CanonicalKey(GetParam().hive, GetParam().subkey));
}

const KeyCase keyCases[] = {
    {HKEY_LOCAL_MACHINE, L"", L"hklm"},
    {HKEY_LOCAL_MACHINE, L"Software\\Anvil", L"hklm\\software\\anvil"},
    {HKEY_LOCAL_MACHINE, L"\\Software\\\\Anvil\\", L"hklm\\software\\anvil"},
    // A slash is a character like any other in the name of a key.
    {HKEY_LOCAL_MACHINE, L"Software/Anvil", L"hklm\\software/anvil"},
    {HKEY_LOCAL_MACHINE, L"Software\\Wow6432Node\\Anvil", L"hklm\\software\\anvil"},
    {HKEY_LOCAL_MACHINE, L"Software\\Wow6432Node", L"hklm\\software\\wow6432node"},
    {HKEY_LOCAL_MACHINE, L"Software\\Classes\\Wow6432Node\\CLSID", L"hklm\\software\\classes\\clsid"},
    {HKEY_LOCAL_MACHINE, L"Software\\Wow6432Node\\Classes\\CLSID", L"hklm\\software\\classes\\clsid"},
    {HKEY_LOCAL_MACHINE, L"SYSTEM\\ControlSet002\\Services", L"hklm\\system\\currentcontrolset\\services"},
    {HKEY_CLASSES_ROOT, L"CLSID", L"hklm\\software\\classes\\clsid"},
    {HKEY_CLASSES_ROOT, L"", L"hklm\\software\\classes"},
    {HKEY_CURRENT_CONFIG, L"Software", L"hklm\\system\\currentcontrolset\\hardware profiles\\current\\software"},
    {HKEY_LOCAL_MACHINE, L"SYSTEM\\ControlSet001\\Hardware Profiles\\0001\\Software",
     L"hklm\\system\\currentcontrolset\\hardware profiles\\current\\software"},
    {HKEY_CURRENT_USER, L"Software\\Wow6432Node\\Anvil", L"hkcu\\software\\anvil"},
    {HKEY_USERS, L"", L"hku"},
    {HKEY_USERS, L"S-1-5-21-1\\Software", L"hkcu\\software"},
    {HKEY_USERS, L"S-1-5-21-1_Classes\\CLSID", L"hkcu\\software\\classes\\clsid"},
    {HKEY_PERFORMANCE_DATA, L"", L"hkpd"},
    {HKEY_DYN_DATA, L"Config Manager\\", L"hkdd\\config manager"},
    {nullptr, L"x", L""},
};
INSTANTIATE_TEST_SUITE_P(Names, CanonicalKeyTest, testing::ValuesIn(keyCases));

TEST(CanonicalOpenedKeyTest, LinkIsNamedByWhereItLeads)
{
    // The system itself links the current control set to a numbered one, and the user's key to all users'.
    EXPECT_EQ(L"hklm\\system\\currentcontrolset\\services",
              CanonicalOpenedKey(HKEY_LOCAL_MACHINE, L"SYSTEM\\CurrentControlSet\\Services"));
    EXPECT_EQ(L"hkcu\\software", CanonicalOpenedKey(HKEY_CURRENT_USER, L"Software"));
}

TEST(CanonicalOpenedKeyTest, AbsentKeyHasNone)
{
    EXPECT_EQ(L"", CanonicalOpenedKey(HKEY_CURRENT_USER, L"Software\\no such key at all"));
}

} // namespace
} // namespace prodsweep
