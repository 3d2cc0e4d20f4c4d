#include "support/wow64_mode.h"

#include "environment/special_folder.h"
#include "environment/wow64.h"

#include <gtest/gtest.h>

namespace prodsweep::test {
namespace {

using Steps = std::vector<std::string>;

TEST(Wow64ModeTest, SaysYesAndThenNoAgain)
{
    {
        const Wow64Mode mode;
        EXPECT_TRUE(CWow64::Instance().IsWow64Process());
    }
    EXPECT_FALSE(CWow64::Instance().IsWow64Process());
}

TEST(Wow64ModeTest, BracketAndTheStepsWithinAreRecordedInOrder)
{
    const Wow64Mode mode;
    void* oldValue = nullptr;
    EXPECT_TRUE(CWow64::Instance().Wow64DisableWow64FsRedirection(&oldValue));
    EXPECT_FALSE(mode.Balanced());
    Wow64Mode::Note("work");
    EXPECT_TRUE(CWow64::Instance().Wow64RevertWow64FsRedirection(oldValue));

    EXPECT_EQ((Steps{"disable", "work", "revert"}), mode.Calls());
    EXPECT_TRUE(mode.Balanced());
}

TEST(Wow64ModeTest, RevertWithAnotherValueIsNoBalance)
{
    const Wow64Mode mode;
    void* oldValue = nullptr;
    EXPECT_TRUE(CWow64::Instance().Wow64DisableWow64FsRedirection(&oldValue));
    EXPECT_TRUE(CWow64::Instance().Wow64RevertWow64FsRedirection(nullptr));
    EXPECT_FALSE(mode.Balanced());
}

TEST(Wow64ModeTest, CallsFailWhenTold)
{
    Wow64Mode mode;
    void* oldValue = nullptr;
    mode.FailDisable(ERROR_ACCESS_DENIED);
    EXPECT_FALSE(CWow64::Instance().Wow64DisableWow64FsRedirection(&oldValue));
    EXPECT_EQ(static_cast<DWORD>(ERROR_ACCESS_DENIED), GetLastError());
    mode.FailRevert(ERROR_INVALID_FUNCTION);
    EXPECT_FALSE(CWow64::Instance().Wow64RevertWow64FsRedirection(oldValue));
    EXPECT_EQ(static_cast<DWORD>(ERROR_INVALID_FUNCTION), GetLastError());
}

TEST(Wow64ModeTest, SpecialFolderTableIsFilledAnewOnBothSides)
{
    std::wstring folder;
    std::wstring before;
    ASSERT_TRUE(CSpecialFolder(L"").Get(L"program_files_x86", before));
    {
        const Wow64Mode mode;
        ASSERT_TRUE(CSpecialFolder(L"").Get(L"program_files_x86", folder));
        EXPECT_NE(before, folder);
    }
    ASSERT_TRUE(CSpecialFolder(L"").Get(L"program_files_x86", folder));
    EXPECT_EQ(before, folder);
}

} // namespace
} // namespace prodsweep::test
