#include "registry/key_circle.h"

#include "registry/key_access.h"
#include "registry/reg_key_helper.h"
#include "support/key_link.h"
#include "support/registry_faults.h"
#include "support/registry_fixture.h"
#include "support/used_recorder.h"

#include <gmock/gmock.h>

// Links between keys.
namespace prodsweep {
namespace {

using test::KeyLink;
using testing::ElementsAre;
using testing::UnorderedElementsAre;

std::vector<std::wstring> Paths(const UsedRegItemList& items)
{
    std::vector<std::wstring> paths;
    paths.reserve(items.size());
    for (const UsedRegItem& item : items)
        paths.push_back(item.path);
    return paths;
}

class KeyLinkTest : public test::RegistryFixture
{
protected:
    std::wstring Short(const std::wstring& relative) const { return L"HKCU\\" + box.Subkey(relative); }
    int Delete(const std::wstring& relative) { return CRegKeyHelper::DeleteKey(Short(relative).c_str(), false, &used); }
    bool ToldOf(const char* function, const std::wstring& relative) const
    {
        return log.Has(LogWarning, function, L"\"" + box.Subkey(relative) + L"\" leads back to a key around it");
    }

    test::UsedRecorder used;
    UsedRegItemList keys;
    UsedRegItemList values;
};

TEST_F(KeyLinkTest, DeletionGoesThroughALink)
{
    box.AddText(L"elsewhere\\sub", L"value", L"data");
    box.AddKey(L"key");
    const KeyLink link(HKEY_CURRENT_USER, box.Subkey(L"key\\link"), box.Subkey(L"elsewhere"));

    Delete(L"key");

    EXPECT_FALSE(box.HasKey(L"elsewhere\\sub"));
}

TEST_F(KeyLinkTest, ExpansionGoesThroughALink)
{
    box.AddText(L"elsewhere\\sub", L"value", L"data");
    box.AddKey(L"key");
    const KeyLink link(HKEY_CURRENT_USER, box.Subkey(L"key\\link"), box.Subkey(L"elsewhere"));

    CRegKeyHelper::ExpandKey(Short(L"key").c_str(), false, keys, values);

    EXPECT_THAT(Paths(values), ElementsAre(box.Path(L"key\\link\\sub\\value")));
}

// A walk that goes round two links does not end of itself, and one that goes round one link ends where the stack
// does: it is made to end after some hundred keys.
class KeyCircleTest : public KeyLinkTest
{
protected:
    KeyCircleTest() { faults.AllowOpens(300); }

    test::RegistryFaults faults;
};

struct TwoCircles
{
    explicit TwoCircles(const test::RegistrySandbox& box)
        : one(HKEY_CURRENT_USER, box.Subkey(L"key\\one"), box.Subkey(L"key")),
          two(HKEY_CURRENT_USER, box.Subkey(L"key\\sub\\two"), box.Subkey(L"key"))
    {}
    KeyLink one;
    KeyLink two;
};

TEST_F(KeyCircleTest, DeletionEndsAndTakesAllButTheLinks)
{
    box.AddText(L"key\\sub", L"value", L"data");
    box.AddText(L"key\\free", L"value", L"data");
    const TwoCircles circles(box);

    EXPECT_EQ(_ERROR_FAILED, Delete(L"key"));

    EXPECT_FALSE(box.HasKey(L"key\\free"));
    EXPECT_FALSE(box.HasValue(L"key\\sub", L"value"));
    EXPECT_TRUE(ToldOf("CRegKeyHelper::DeleteKey", L"key\\one"));
    EXPECT_TRUE(ToldOf("CRegKeyHelper::DeleteKey", L"key\\sub\\two"));
}

TEST_F(KeyCircleTest, ValueInUseIsNotDeletedThroughTheLink)
{
    box.AddText(L"key", L"value", L"data");
    const KeyLink link(HKEY_CURRENT_USER, box.Subkey(L"key\\link"), box.Subkey(L"key"));
    used.Claim(L"value " + box.Path(L"key") + L" | value");

    EXPECT_EQ(_ERROR_SUCCESS, Delete(L"key"));

    EXPECT_TRUE(box.HasValue(L"key", L"value"));
}

TEST_F(KeyCircleTest, LinkItselfIsNoWayToDeleteWhatIsAroundIt)
{
    box.AddText(L"key", L"value", L"data");
    const KeyLink link(HKEY_CURRENT_USER, box.Subkey(L"key\\link"), box.Subkey(L"key"));

    EXPECT_EQ(_ERROR_FAILED, Delete(L"key\\link"));

    EXPECT_TRUE(box.HasValue(L"key", L"value"));
}

TEST_F(KeyCircleTest, ExpansionEndsWithTheValuesBehindTheLinks)
{
    box.AddText(L"key", L"top", L"data");
    box.AddKey(L"key\\sub");
    const TwoCircles circles(box);

    EXPECT_EQ(_ERROR_SUCCESS, CRegKeyHelper::ExpandKey(Short(L"key").c_str(), false, keys, values));

    EXPECT_THAT(Paths(keys), UnorderedElementsAre(Short(L"key"), box.Path(L"key\\one"), box.Path(L"key\\sub"),
                                                  box.Path(L"key\\sub\\two")));
    EXPECT_THAT(Paths(values), UnorderedElementsAre(box.Path(L"key\\top"), box.Path(L"key\\one\\top"),
                                                    box.Path(L"key\\sub\\two\\top")));
    EXPECT_TRUE(ToldOf("CRegKeyHelper::ExpandKey", L"key\\one"));
}

TEST_F(KeyCircleTest, SearchesEnd)
{
    box.AddText(L"key\\sub", L"value", L"data");
    box.AddText(L"key\\zz", L"value", L"sought");
    const TwoCircles circles(box);

    EXPECT_EQ(_ERROR_SUCCESS,
              CRegKeyHelper::ExpandKeySearch(Short(L"key").c_str(), {L"sought"}, true, false, keys, values));
    EXPECT_EQ(_ERROR_SUCCESS, CRegKeyHelper::DelKeySearch(Short(L"key").c_str(), {L"sought"}, true, false, &used));

    EXPECT_THAT(Paths(keys), ElementsAre(box.Path(L"key\\zz")));
    EXPECT_FALSE(box.HasKey(L"key\\zz"));
    EXPECT_TRUE(ToldOf("CRegKeyHelper::ExpandKeySearch", L"key\\one"));
    EXPECT_TRUE(ToldOf("CRegKeyHelper::DelKeySearch", L"key\\sub\\two"));
}

// The descent of a check goes by the whole name from the key just opened: here it happens to be there each time.
TEST_F(KeyCircleTest, CheckEnds)
{
    box.AddKey(L"a");
    const KeyLink link(HKEY_CURRENT_USER, box.Subkey(L"a\\a"), box.Subkey(L"a"));
    UniqueRegKey root;
    ASSERT_EQ(ERROR_SUCCESS, OpenKey(HKEY_CURRENT_USER, box.Subkey(), KEY_ALL_ACCESS, root));

    EXPECT_EQ(_ERROR_SUCCESS, CRegKeyHelper::CheckKeySearch(root.get(), L"a", {L"sought"}, true, false));

    EXPECT_GT(10, faults.Opens());
    EXPECT_TRUE(log.Has(LogWarning, "CRegKeyHelper::CheckKeySearch", L"\"a\\a\" leads back to a key around it"));
}

// What it takes to see a circle.

TEST_F(KeyCircleTest, NoOtherKeyIsOpenedWhereNoLinkIs)
{
    box.AddText(L"key\\sub", L"value", L"data");

    EXPECT_EQ(_ERROR_SUCCESS, Delete(L"KEY"));

    EXPECT_EQ(2, faults.Opens());
}

class LeadsBackTest : public KeyLinkTest
{
protected:
    LeadsBackTest() { box.AddKey(L"key\\sub"); }

    // The answer for a subkey that is opened as it is spelt.
    static bool LeadsBack(HKEY hive, const std::wstring& subkey)
    {
        UniqueRegKey key;
        EXPECT_EQ(ERROR_SUCCESS, OpenKey(hive, subkey, KEY_QUERY_VALUE, key));
        return prodsweep::LeadsBack(key.get(), hive, subkey, false);
    }
};

TEST_F(LeadsBackTest, LinkToAnyKeyOnTheWayDoes)
{
    for (const std::wstring& target : {box.Subkey(L"key\\sub"), box.Subkey(L"key"), box.Subkey()})
    {
        const KeyLink link(HKEY_CURRENT_USER, box.Subkey(L"key\\sub\\link"), target);
        EXPECT_TRUE(LeadsBack(HKEY_CURRENT_USER, box.Subkey(L"key\\sub\\link"))) << target;
        EXPECT_FALSE(LeadsBack(HKEY_CURRENT_USER, box.Subkey(L"key\\sub"))) << target;
    }
}

TEST_F(LeadsBackTest, LinkToAKeyBesideTheWayDoesNot)
{
    box.AddKey(L"beside\\sub");
    const KeyLink link(HKEY_CURRENT_USER, box.Subkey(L"key\\link"), box.Subkey(L"beside"));

    EXPECT_FALSE(LeadsBack(HKEY_CURRENT_USER, box.Subkey(L"key\\link")));
    EXPECT_FALSE(LeadsBack(HKEY_CURRENT_USER, box.Subkey(L"key\\link\\sub")));
}

TEST_F(LeadsBackTest, OddSpellingsDoNot)
{
    UniqueRegKey root;
    ASSERT_EQ(ERROR_SUCCESS, OpenKey(HKEY_CURRENT_USER, box.Subkey(), KEY_QUERY_VALUE, root));

    for (const wchar_t* subkey : {L"", L"key\\", L"KEY", L"key\\sub\\", L"key\\\\sub"})
        EXPECT_FALSE(LeadsBack(root.get(), subkey)) << subkey;
}

TEST_F(LeadsBackTest, LongPathsAreCompared)
{
    const std::wstring longKey = L"key\\" + std::wstring(250, L'x') + L"\\" + std::wstring(250, L'y');
    box.AddKey(longKey);
    const KeyLink link(HKEY_CURRENT_USER, box.Subkey(longKey + L"\\link"), box.Subkey(longKey));

    EXPECT_TRUE(LeadsBack(HKEY_CURRENT_USER, box.Subkey(longKey + L"\\link")));
}

TEST_F(LeadsBackTest, KeyThatIsNotOpenDoesNot)
{
    EXPECT_FALSE(prodsweep::LeadsBack(nullptr, HKEY_CURRENT_USER, L"a", false));
}

} // namespace
} // namespace prodsweep
