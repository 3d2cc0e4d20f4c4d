#include "native_key.h"

#include "common/unique_reg_key.h"
#include "registry/native_key_name.h"
#include "support/key_link.h"
#include "support/registry_sandbox.h"

#include <gtest/gtest.h>

namespace prodsweep {
namespace {

class NativeKeyTest : public testing::Test
{
protected:
    std::wstring NativeNameOf(const std::wstring& relative) const
    {
        HKEY opened = nullptr;
        RegOpenKeyExW(HKEY_CURRENT_USER, box.Subkey(relative).c_str(), 0, KEY_READ, &opened);
        const UniqueRegKey key(opened);
        return NativeKeyName(opened);
    }

    test::RegistrySandbox box;
};

TEST_F(NativeKeyTest, LinkHasTheNameOfWhatItLeadsTo)
{
    box.AddKey(L"a");
    const test::KeyLink link(HKEY_CURRENT_USER, box.Subkey(L"link"), box.Subkey(L"a"));
    EXPECT_EQ(NativeNameOf(L"a"), NativeNameOf(L"link"));
    EXPECT_TRUE(NativeNameOf(L"link").ends_with(L"\\a")) << NativeNameOf(L"link");
}

TEST_F(NativeKeyTest, LongNameIsToldWhole)
{
    const std::wstring longest(255, L'x');
    const std::wstring key = longest + L'\\' + longest + L'\\' + longest;
    box.AddKey(key);
    EXPECT_TRUE(NativeNameOf(key).ends_with(key));
}

TEST_F(NativeKeyTest, KeyThatIsNotOpenHasNoName) { EXPECT_EQ(L"", NativeKeyName(nullptr)); }

TEST_F(NativeKeyTest, OnlyALinkIsOneAndOneThatLeadsNowhereToo)
{
    box.AddKey(L"a\\sub");
    const test::KeyLink link(HKEY_CURRENT_USER, box.Subkey(L"link"), box.Subkey(L"a"));
    const auto isLink = [&](const wchar_t* name) { return IsKeyLink(HKEY_CURRENT_USER, box.Subkey(name)); };
    EXPECT_TRUE(isLink(L"link"));
    EXPECT_FALSE(isLink(L"a"));
    EXPECT_FALSE(isLink(L"link\\sub"));
    EXPECT_FALSE(isLink(L"absent"));
    ASSERT_EQ(ERROR_SUCCESS, RegDeleteTreeW(HKEY_CURRENT_USER, box.Subkey(L"a").c_str()));
    EXPECT_TRUE(isLink(L"link"));
}

TEST_F(NativeKeyTest, HiveHasItsOwnNameForPeople)
{
    box.AddKey(L"a");
    EXPECT_EQ(box.Path(L"a"), ReadableKeyName(NativeNameOf(L"a")));
    EXPECT_EQ(L"HKEY_LOCAL_MACHINE", ReadableKeyName(LR"(\REGISTRY\MACHINE)"));
    EXPECT_EQ(L"HKEY_LOCAL_MACHINE\\Software", ReadableKeyName(LR"(\Registry\Machine\Software)"));
    EXPECT_EQ(L"HKEY_USERS\\.Default", ReadableKeyName(LR"(\Registry\User\.Default)"));
    EXPECT_EQ(LR"(\Registry\Machinery)", ReadableKeyName(LR"(\Registry\Machinery)"));
}

} // namespace
} // namespace prodsweep
