#include "profile_list.h"

#include <gmock/gmock.h>

#include "common/unique_reg_key.h"
#include "support/registry_sandbox.h"

namespace prodsweep {
namespace {

using testing::ElementsAre;

class ProfileListTest : public testing::Test
{
protected:
    void Add(const std::wstring& user, const wchar_t* value, DWORD type, const std::wstring& text) const
    {
        const std::wstring key = user.empty() ? L"list" : L"list\\" + user;
        box.AddKey(key);
        ASSERT_EQ(ERROR_SUCCESS, RegSetKeyValueW(HKEY_CURRENT_USER, box.Subkey(key).c_str(), value, type, text.c_str(),
                                                 static_cast<DWORD>((text.size() + 1) * sizeof(wchar_t))));
    }
    ProfileList Read() const
    {
        HKEY opened = nullptr;
        RegOpenKeyExW(HKEY_CURRENT_USER, box.Subkey(L"list").c_str(), 0, KEY_READ, &opened);
        const UniqueRegKey key(opened);
        return ReadProfileList(opened);
    }

    test::RegistrySandbox box;
};

TEST_F(ProfileListTest, EachUsersFolderIsReadWithItsVariablesWrittenOut)
{
    SetEnvironmentVariableW(L"prodsweep_test_drive", L"E:");
    Add(L"", L"ProfilesDirectory", REG_EXPAND_SZ, L"%prodsweep_test_drive%\\Users");
    Add(L"S-1-5-18", L"ProfileImagePath", REG_EXPAND_SZ, L"%prodsweep_test_drive%\\config\\systemprofile");
    Add(L"S-1-5-21-1", L"ProfileImagePath", REG_SZ, L"D:\\Profiles\\jo\\");
    const ProfileList list = Read();
    EXPECT_EQ(L"E:\\Users", list.folder);
    EXPECT_THAT(list.roots, ElementsAre(L"E:\\config\\systemprofile", L"D:\\Profiles\\jo"));
}

TEST_F(ProfileListTest, UserWithoutAFolderIsPassedOver)
{
    Add(L"S-1-5-21-1", L"Other", REG_SZ, L"x");
    Add(L"S-1-5-21-2", L"ProfileImagePath", REG_SZ, L"");
    Add(L"S-1-5-21-3", L"ProfileImagePath", REG_BINARY, L"C:\\x");
    Add(L"S-1-5-21-4", L"ProfileImagePath", REG_SZ, L"C:\\jo");
    const ProfileList list = Read();
    EXPECT_EQ(L"", list.folder);
    EXPECT_THAT(list.roots, ElementsAre(L"C:\\jo"));
}

TEST_F(ProfileListTest, MachineHasAFolderOfAllProfilesAndOneOfThisUser)
{
    const ProfileList list = ReadProfileList();
    EXPECT_NE(L"", list.folder);
    EXPECT_FALSE(list.roots.empty());
}

} // namespace
} // namespace prodsweep
