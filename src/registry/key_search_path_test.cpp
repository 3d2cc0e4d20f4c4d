// The three searches in a key whose path ends in a separator: they always put one before a child's name.
#include "registry/reg_key_helper.h"

#include "support/registry_faults.h"
#include "support/registry_fixture.h"
#include "support/used_recorder.h"

#include <gmock/gmock.h>

namespace prodsweep {
namespace {

using testing::ElementsAre;

class KeySearchPathTest : public test::RegistryFixture
{
protected:
    KeySearchPathTest() { box.AddText(L"key\\sub", L"value", L"needle"); }

    const WideStringList search = {L"needle"};
    const std::wstring path = L"HKCU\\" + box.Subkey(L"key\\");
};

TEST_F(KeySearchPathTest, DeletionAsksWithTheSeparatorDoubled)
{
    test::UsedRecorder used;
    EXPECT_EQ(_ERROR_SUCCESS, CRegKeyHelper::DelKeySearch(path.c_str(), search, false, false, &used));
    EXPECT_THAT(used.Asked(),
                ElementsAre(L"key " + box.Path(L"key\\\\sub"), L"value " + box.Path(L"key\\\\sub") + L" | value"));
}

TEST_F(KeySearchPathTest, CheckOpensWithTheSeparatorDoubled)
{
    const test::RegistryFaults faults;
    EXPECT_EQ(_ERROR_SUCCESS, CRegKeyHelper::CheckKeySearch(path.c_str(), search, false, false));
    EXPECT_EQ(1, faults.Count(L"open " + box.Subkey(L"key\\\\sub") + L" 0xf003f"));
}

TEST_F(KeySearchPathTest, ExpansionListsWithTheSeparatorDoubled)
{
    UsedRegItemList keys;
    UsedRegItemList values;
    EXPECT_EQ(_ERROR_SUCCESS, CRegKeyHelper::ExpandKeySearch(path.c_str(), search, false, false, keys, values));
    ASSERT_EQ(1U, keys.size());
    EXPECT_EQ(box.Path(L"key\\\\sub"), keys[0].path);
}

} // namespace
} // namespace prodsweep
