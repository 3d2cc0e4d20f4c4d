#include "look.h"

#include <utility>

#include <gtest/gtest.h>

#include <windows.h>

#include <sddl.h>

#include "common/unique_reg_key.h"
#include "registry/reg_key_helper.h"
#include "support/key_link.h"
#include "support/registry_fixture.h"
#include "text.h"

namespace prodsweep {
namespace {

// Lets a key of the user's settings be read by everybody, or not even that, and changed by nobody, for as long as it
// lives.
class LockedKey
{
public:
    explicit LockedKey(std::wstring keyPath, bool mayBeRead = true) : path(std::move(keyPath))
    {
        Grant(mayBeRead ? L"D:P(A;;KRRCWD;;;WD)" : L"D:P(A;;RCWD;;;WD)");
    }
    ~LockedKey() { Grant(L"D:(A;;KA;;;WD)"); }
    LockedKey(const LockedKey&) = delete;
    LockedKey& operator=(const LockedKey&) = delete;

private:
    void Grant(const wchar_t* rights) const
    {
        HKEY opened = nullptr;
        ASSERT_EQ(ERROR_SUCCESS, RegOpenKeyExW(HKEY_CURRENT_USER, path.c_str(), 0, WRITE_DAC, &opened));
        const UniqueRegKey key(opened);
        PSECURITY_DESCRIPTOR descriptor = nullptr;
        ASSERT_TRUE(
            ConvertStringSecurityDescriptorToSecurityDescriptorW(rights, SDDL_REVISION_1, &descriptor, nullptr));
        EXPECT_EQ(ERROR_SUCCESS, RegSetKeySecurity(key.get(), DACL_SECURITY_INFORMATION, descriptor));
        LocalFree(descriptor);
    }

    std::wstring path;
};

class LookRegistryTest : public test::RegistryFixture
{
protected:
    LookRegistryTest()
    {
        box.AddText(L"a", L"Path", L"x");
        box.AddText(L"a\\free", L"Path", L"x");
        box.AddText(L"a\\locked\\deep", L"Path", L"x");
    }

    static const CGuardRails& Rails()
    {
        static const CGuardRails rails(L"C:\\prodsweep test\\");
        return rails;
    }

    PlannedItem LookAtValueOf(const std::wstring& key, const std::wstring& name) const
    {
        PlannedItem item;
        LookAtValue(item, {box.Path(key), name, false, true}, context);
        return item;
    }

    const CheckList nobody;
    const std::vector<std::string> noNames;
    const CUsers users{nobody, noNames};
    const std::wstring noFolder;
    CSweptPlaces swept;
    PlannedProduct product;
    Plan plan;
    const LookContext context{users, users, Rails(), noFolder, noFolder, false, swept, product, plan};
};

TEST_F(LookRegistryTest, KeyThatMayNotBeChangedStaysWithTheKeysAroundIt)
{
    PlannedItem item;
    {
        const LockedKey lock(box.Subkey(L"a\\locked"));
        LookAtKey(item, {box.Path(L"a"), {}, false, false}, context);
        EXPECT_NE(_ERROR_SUCCESS, CRegKeyHelper::DeleteKey(box.Path(L"a").c_str(), false, nullptr));
    }
    EXPECT_EQ(ItemState::Fails, item.state);
    EXPECT_NE(std::string::npos, item.reason.find("access to a key in it is denied")) << item.reason;
    ASSERT_EQ(1u, item.parts.size());
    EXPECT_EQ(ItemState::Fails, item.parts[0].state);
    EXPECT_EQ(ToUtf8(box.Path(L"a\\locked")), item.parts[0].name);
    EXPECT_EQ(L"", swept.TakesKey(box.Path(L"a")));
    // The numbers, and what the removal did.
    EXPECT_EQ(1u, item.contents.keys);
    EXPECT_EQ(2u, item.contents.values);
    EXPECT_FALSE(box.HasKey(L"a\\free"));
    EXPECT_FALSE(box.HasValue(L"a", L"Path"));
    EXPECT_TRUE(box.HasValue(L"a\\locked\\deep", L"Path"));
}

TEST_F(LookRegistryTest, LinkThatLeadsBackStaysWithTheKeysAroundIt)
{
    const test::KeyLink link(HKEY_CURRENT_USER, box.Subkey(L"a\\locked\\link"), box.Subkey(L"a"));
    PlannedItem item;
    LookAtKey(item, {box.Path(L"a"), {}, false, false}, context);
    EXPECT_EQ(ItemState::Fails, item.state);
    EXPECT_NE(std::string::npos, item.reason.find("a link in it leads back to a key around it")) << item.reason;
    ASSERT_EQ(1u, item.parts.size());
    EXPECT_EQ(ToUtf8(box.Path(L"a\\locked\\link")), item.parts[0].name);
    // The numbers, and what the removal does.
    EXPECT_EQ(2u, item.contents.keys);
    EXPECT_EQ(3u, item.contents.values);
    EXPECT_NE(_ERROR_SUCCESS, CRegKeyHelper::DeleteKey(box.Path(L"a").c_str(), false, nullptr));
    EXPECT_FALSE(box.HasKey(L"a\\free"));
    EXPECT_FALSE(box.HasKey(L"a\\locked\\deep"));
    EXPECT_FALSE(box.HasValue(L"a", L"Path"));
    EXPECT_TRUE(box.HasKey(L"a\\locked\\link"));
}

TEST_F(LookRegistryTest, SearchThatFindsAKeyAroundALockedOneFails)
{
    box.AddText(L"a", L"Path", L"what is searched");
    const LockedKey lock(box.Subkey(L"a\\locked"));
    PlannedItem item;
    LookAtKeySearch(item, {box.Path(), {L"what is searched"}, false, false}, context);
    EXPECT_EQ(ItemState::Fails, item.state);
    EXPECT_NE("", item.reason);
}

TEST_F(LookRegistryTest, ValueOfAKeyThatMayNotBeChangedStays)
{
    const LockedKey lock(box.Subkey(L"a\\free"));
    const PlannedItem item = LookAtValueOf(L"a\\free", L"Path");
    EXPECT_EQ(ItemState::Fails, item.state);
    EXPECT_EQ("access to its key is denied, which the removal takes for absence", item.reason);
    EXPECT_EQ(0u, item.contents.values);
    EXPECT_EQ(_ERROR_NOT_FOUND, CRegKeyHelper::DeleteValue(box.Path(L"a\\free").c_str(), L"Path", false, nullptr));
}

TEST_F(LookRegistryTest, ValuesThatAPatternMeansInALockedKeyStay)
{
    const LockedKey lock(box.Subkey(L"a\\free"));
    const PlannedItem item = LookAtValueOf(L"a\\free", L"Pa*");
    EXPECT_EQ(ItemState::Fails, item.state);
    ASSERT_EQ(1u, item.parts.size());
    EXPECT_EQ(ItemState::Fails, item.parts[0].state);
}

TEST_F(LookRegistryTest, ValueThatIsNotInALockedKeyIsAbsentAndWhereNobodyMayLookItFails)
{
    {
        const LockedKey lock(box.Subkey(L"a\\free"));
        EXPECT_EQ(ItemState::Absent, LookAtValueOf(L"a\\free", L"Other").state);
    }
    const LockedKey lock(box.Subkey(L"a\\free"), false);
    EXPECT_EQ(ItemState::Fails, LookAtValueOf(L"a\\free", L"Path").state);
}

TEST_F(LookRegistryTest, LookChangesNoTimeOfAKey)
{
    const auto lastWrite = [&] {
        HKEY opened = nullptr;
        FILETIME time{};
        EXPECT_EQ(ERROR_SUCCESS, RegOpenKeyExW(HKEY_CURRENT_USER, box.Subkey(L"a").c_str(), 0, KEY_READ, &opened));
        const UniqueRegKey key(opened);
        RegQueryInfoKeyW(opened, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                         nullptr, &time);
        return ULARGE_INTEGER{{time.dwLowDateTime, time.dwHighDateTime}}.QuadPart;
    };
    const auto before = lastWrite();
    PlannedItem item;
    LookAtKey(item, {box.Path(L"a"), {}, false, false}, context);
    EXPECT_EQ(ItemState::Present, item.state);
    EXPECT_EQ(4u, item.contents.keys);
    EXPECT_EQ(before, lastWrite());
}

} // namespace
} // namespace prodsweep
