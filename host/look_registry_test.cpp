#include "look.h"

#include <string>
#include <utility>
#include <vector>

#include <gmock/gmock.h>

#include <windows.h>

#include <sddl.h>

#include "common/unique_reg_key.h"
#include "registry/reg_key_helper.h"
#include "support/key_link.h"
#include "support/registry_fixture.h"
#include "text.h"

namespace prodsweep {
namespace {

using testing::ElementsAre;

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
        item.name = ToUtf8(box.Path(key));
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

class LookAtKeyLinkTest : public LookRegistryTest
{
protected:
    // Hives that a process keeps open from their first use on are no handles that a look leaves.
    static void SetUpTestSuite()
    {
        for (const wchar_t* const key : {L"HKLM\\Software", L"HKU\\.DEFAULT"})
            ASSERT_EQ(_ERROR_SUCCESS, CRegKeyHelper::CheckKey(key, false)) << key;
    }

    PlannedItem LookAtKeyOf(const std::wstring& key)
    {
        PlannedItem item;
        LookAtKey(item, {box.Path(key), {}, false, false}, context);
        return item;
    }
    // Each as "what it leads to: reason".
    std::vector<std::string> Dangers() const
    {
        std::vector<std::string> dangers;
        dangers.reserve(plan.dangers.size());
        for (const PlanDanger& danger : plan.dangers)
            dangers.push_back(danger.leadsTo + ": " + danger.reason);
        return dangers;
    }
    test::KeyLink LinkToMachine(const std::wstring& key, const std::wstring& target)
    {
        return {HKEY_CURRENT_USER, box.Subkey(key), HKEY_LOCAL_MACHINE, target};
    }
};

TEST_F(LookAtKeyLinkTest, LinkToAForbiddenKeyIsADangerAndNotLookedInto)
{
    const test::KeyLink link = LinkToMachine(L"a\\free\\link", L"Software\\Microsoft");
    const PlannedItem item = LookAtKeyOf(L"a");
    EXPECT_THAT(Dangers(), ElementsAre(R"(HKEY_LOCAL_MACHINE\Software\Microsoft: Windows' own settings)"));
    EXPECT_EQ(ToUtf8(box.Path(L"a\\free\\link")), plan.dangers.at(0).item);
    EXPECT_FALSE(item.contents.complete);
    EXPECT_EQ(1u, item.contents.links);
    EXPECT_EQ(2u, item.contents.keys);
}

TEST_F(LookAtKeyLinkTest, LinkToAKeyAboveAForbiddenOneIsADanger)
{
    const std::wstring above = L"System\\CurrentControlSet\\Hardware Profiles";
    const test::KeyLink link = LinkToMachine(L"a\\link", above);
    LookAtKeyOf(L"a");
    ASSERT_EQ(1u, plan.dangers.size());
    EXPECT_EQ("the hardware profile", plan.dangers[0].reason);
}

TEST_F(LookAtKeyLinkTest, ForbiddenKeyBehindASecondLinkIsADanger)
{
    box.AddKey(L"elsewhere");
    const test::KeyLink first(HKEY_CURRENT_USER, box.Subkey(L"a\\link"), box.Subkey(L"elsewhere"));
    const test::KeyLink second = LinkToMachine(L"elsewhere\\link", L"Software\\Classes\\CLSID");
    LookAtKeyOf(L"a");
    EXPECT_THAT(Dangers(), ElementsAre(R"(HKEY_LOCAL_MACHINE\Software\Classes\CLSID: all registered COM classes)"));
}

TEST_F(LookAtKeyLinkTest, LinkToAKeyBelowAForbiddenOneIsToldAndNoDanger)
{
    const test::KeyLink link =
        LinkToMachine(L"a\\link", L"Software\\Microsoft\\Windows\\CurrentVersion\\Control Panel");
    const PlannedItem item = LookAtKeyOf(L"a");
    EXPECT_THAT(Dangers(), ElementsAre());
    ASSERT_EQ(2u, item.parts.size());
    EXPECT_EQ(PlannedPart::Kind::Link, item.parts[0].kind);
    EXPECT_EQ(R"(HKEY_LOCAL_MACHINE\Software\Microsoft\Windows\CurrentVersion\Control Panel)", item.parts[0].leadsTo);
}

TEST_F(LookAtKeyLinkTest, KeyBehindALinkGoesAndTheLinkStaysWithTheKeysAroundIt)
{
    box.AddText(L"elsewhere\\sub", L"value", L"data");
    const test::KeyLink link(HKEY_CURRENT_USER, box.Subkey(L"a\\free\\link"), box.Subkey(L"elsewhere"));
    const PlannedItem item = LookAtKeyOf(L"a");
    EXPECT_EQ(ItemState::Fails, item.state);
    EXPECT_NE(std::string::npos, item.reason.find("a link in it is walked through and not deleted")) << item.reason;
    EXPECT_EQ(ToUtf8(box.Path(L"elsewhere")), item.parts.at(0).leadsTo);
    // "a\locked" with what is in it, and "elsewhere" with what is in it.
    EXPECT_EQ(4u, item.contents.keys);
    EXPECT_EQ(4u, item.contents.values);
    // What the removal does.
    EXPECT_NE(_ERROR_SUCCESS, CRegKeyHelper::DeleteKey(box.Path(L"a").c_str(), false, nullptr));
    EXPECT_FALSE(box.HasKey(L"elsewhere"));
    EXPECT_FALSE(box.HasKey(L"a\\locked"));
    EXPECT_FALSE(box.HasValue(L"a\\free", L"Path"));
    EXPECT_TRUE(box.HasKey(L"a\\free"));
}

TEST_F(LookAtKeyLinkTest, LinkThatLeadsNowhereStaysWithTheKeysAroundIt)
{
    box.AddKey(L"elsewhere");
    const test::KeyLink link(HKEY_CURRENT_USER, box.Subkey(L"a\\link"), box.Subkey(L"elsewhere"));
    ASSERT_EQ(_ERROR_SUCCESS, CRegKeyHelper::DeleteKey(box.Path(L"elsewhere").c_str(), false, nullptr));
    const PlannedItem item = LookAtKeyOf(L"a");
    EXPECT_EQ(ItemState::Fails, item.state);
    EXPECT_NE(std::string::npos, item.reason.find("a link in it leads to no key")) << item.reason;
    EXPECT_TRUE(item.contents.complete);
    EXPECT_NE(_ERROR_SUCCESS, CRegKeyHelper::DeleteKey(box.Path(L"a").c_str(), false, nullptr));
    EXPECT_TRUE(box.HasKey(L"a"));
}

TEST_F(LookAtKeyLinkTest, ItemThatIsALinkOrLiesBehindOneIsJudgedByWhereItLeads)
{
    const test::KeyLink link = LinkToMachine(L"a\\link", L"Software");
    EXPECT_EQ(R"(HKEY_LOCAL_MACHINE\Software)", LookAtKeyOf(L"a\\link").leadsTo);
    EXPECT_EQ(R"(HKEY_LOCAL_MACHINE\Software\Microsoft)", LookAtKeyOf(L"a\\link\\Microsoft").leadsTo);
    EXPECT_THAT(Dangers(), ElementsAre(R"(HKEY_LOCAL_MACHINE\Software: all programs' settings)",
                                       R"(HKEY_LOCAL_MACHINE\Software\Microsoft: Windows' own settings)"));
}

TEST_F(LookAtKeyLinkTest, ItemBehindALinkToAKeyThatMayGoSaysWhereItLeads)
{
    box.AddKey(L"elsewhere\\sub");
    const test::KeyLink link(HKEY_CURRENT_USER, box.Subkey(L"a\\link"), box.Subkey(L"elsewhere"));
    const PlannedItem item = LookAtKeyOf(L"a\\link\\sub");
    EXPECT_EQ(ItemState::Present, item.state);
    EXPECT_EQ(ToUtf8(box.Path(L"elsewhere\\sub")), item.leadsTo);
    EXPECT_EQ("", LookAtKeyOf(L"a\\free").leadsTo);
    EXPECT_THAT(Dangers(), ElementsAre());
}

TEST_F(LookAtKeyLinkTest, KeyThatASearchFindsBehindALinkIsJudgedByWhereItLeads)
{
    const test::KeyLink link = LinkToMachine(L"a\\link", L"System\\CurrentControlSet\\Control\\Session Manager");
    PlannedItem item;
    LookAtKeySearch(item, {box.Path(L"a\\link"), {L"cmd.exe"}, false, false}, context);
    EXPECT_TRUE(item.leadsTo.ends_with(R"(\Control\Session Manager)")) << item.leadsTo;
    EXPECT_THAT(Dangers(), ElementsAre(item.leadsTo + R"(\Environment: the environment of all programs)"));
    EXPECT_EQ(item.leadsTo + R"(\Environment)", item.parts.at(0).leadsTo);
}

TEST_F(LookAtKeyLinkTest, LinkWithinAKeyThatASearchFindsIsJudged)
{
    box.AddText(L"a\\free", L"Path", L"what is searched");
    const test::KeyLink link = LinkToMachine(L"a\\free\\link", L"Software\\Clients");
    PlannedItem item;
    LookAtKeySearch(item, {box.Path(), {L"what is searched"}, false, false}, context);
    EXPECT_THAT(Dangers(), ElementsAre(R"(HKEY_LOCAL_MACHINE\Software\Clients: the default programs)"));
    EXPECT_EQ(1u, item.contents.links);
}

TEST_F(LookAtKeyLinkTest, ValueBehindALinkIsJudgedByWhereItLeads)
{
    const test::KeyLink link = LinkToMachine(L"a\\link", L"System\\CurrentControlSet\\Control\\Session Manager");
    const PlannedItem item = LookAtValueOf(L"a\\link\\Environment", L"Path");
    EXPECT_TRUE(item.leadsTo.ends_with(R"(\Control\Session Manager\Environment)")) << item.leadsTo;
    EXPECT_THAT(Dangers(), ElementsAre(item.leadsTo + ": the search path of all programs, not of one"));
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

TEST_F(LookRegistryTest, ValueIsCountedWithTheFirstItemThatTakesIt)
{
    box.AddText(L"a", L"Other", L"x");
    const std::string pattern = ToUtf8(box.Path(L"a")) + "\\Pa*";
    EXPECT_EQ(1u, LookAtValueOf(L"a", L"Pa*").contents.values);

    const PlannedItem same = LookAtValueOf(L"A", L"path");
    EXPECT_EQ(ItemState::GoesWith, same.state);
    EXPECT_EQ(pattern, same.by);
    EXPECT_EQ(0u, same.contents.values);

    const PlannedItem more = LookAtValueOf(L"a", L"*t*");
    EXPECT_EQ(ItemState::Present, more.state);
    EXPECT_EQ("", more.by);
    EXPECT_EQ(1u, more.contents.values);

    EXPECT_EQ(ItemState::Present, LookAtValueOf(L"a\\free", L"Path").state) << "a value of another key";
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

TEST_F(LookRegistryTest, KeyWithMoreInItThanIsLookedAtIsADanger)
{
    const auto lookAtMost = [&](const std::wstring& key, std::uint64_t most) {
        LookContext less = context;
        less.most = most;
        PlannedItem item;
        item.name = ToUtf8(key);
        LookAtKey(item, {box.Path(key), {}, false, false}, less);
        return item.contents.complete;
    };
    // A key, its value, and a key in it.
    box.AddText(L"b", L"Path", L"x");
    box.AddKey(L"b\\sub");
    EXPECT_TRUE(lookAtMost(L"b", 3));
    EXPECT_TRUE(plan.dangers.empty());
    box.AddText(L"c", L"Path", L"x");
    box.AddKey(L"c\\sub");
    EXPECT_FALSE(lookAtMost(L"c", 2));
    ASSERT_EQ(1u, plan.dangers.size());
    EXPECT_EQ("c", plan.dangers[0].item);
    EXPECT_EQ("too large to be judged: not all in it was looked at", plan.dangers[0].reason);
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
