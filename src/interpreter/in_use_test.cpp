// Which of the products that stay are asked, and what the answer hangs on.
#include "interpreter/product_uninstall.h"

#include "environment/log.h"
#include "support/com_scope.h"
#include "support/log_recorder.h"
#include "support/removal_pass.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

namespace prodsweep {
namespace {

using test::RemovalPass;
using test::Staying;
using testing::ElementsAre;

// One kind of thing: what a product that uses it says, and how the removal asks. Only the key of the value is there.
struct Question
{
    const char* name;
    const char* sections;
    const char* function;
    bool (*ask)(RemovalPass&);
    const wchar_t* what;
};

class InUseTest : public testing::Test
{
protected:
    test::ComScope com;
    test::LogRecorder log;
    CheckList checkList;
    RemovalPass pass{L"Product", L"C:\\none.xml", checkList, nullptr};
};

class InUseQuestionTest : public InUseTest, public testing::WithParamInterface<Question>
{
protected:
    [[nodiscard]] static bool Ask(RemovalPass& removal) { return GetParam().ask(removal); }
    [[nodiscard]] WideStringList Lines() const
    {
        WideStringList lines;
        for (const test::LogRecord& record : log.Records())
        {
            if (record.function == GetParam().function)
                lines.push_back(record.text);
        }
        return lines;
    }
};

TEST_P(InUseQuestionTest, ProductThatStaysBehindAnotherIsAskedToo)
{
    checkList.push_back(Staying(""));
    checkList.push_back(Staying(GetParam().sections));
    EXPECT_TRUE(Ask(pass));
}

TEST_P(InUseQuestionTest, FirstYesIsTheLastThatIsAskedFor)
{
    checkList.push_back(Staying(GetParam().sections));
    checkList.push_back(Staying(GetParam().sections));
    EXPECT_TRUE(Ask(pass));
    EXPECT_THAT(Lines(), ElementsAre(GetParam().what + (L" used by \"" + checkList[0].DescriptorPath() + L"\"")));
}

TEST_P(InUseQuestionTest, WhatNoneOfThemUsesIsNotInUse)
{
    checkList.push_back(Staying(""));
    checkList.push_back(Staying("<s op_code='del_file'><e name='C:\\other'/></s>"));
    EXPECT_FALSE(Ask(pass));
    EXPECT_TRUE(Lines().empty());
}

INSTANTIATE_TEST_SUITE_P(
    Kinds, InUseQuestionTest,
    testing::Values(
        Question{"File", "<s op_code='del_file'><e name='C:\\prodsweep-none\\a'/></s>", "CProductUninstall::IsUsedFile",
                 [](RemovalPass& pass) { return pass.IsUsedFile(L"C:\\prodsweep-none\\a"); },
                 L"\"C:\\prodsweep-none\\a\""},
        Question{"Folder", "<s op_code='del_folder'><e name='C:\\prodsweep-none'/></s>",
                 "CProductUninstall::IsUsedFolder",
                 [](RemovalPass& pass) { return pass.IsUsedFolder(L"C:\\prodsweep-none"); }, L"\"C:\\prodsweep-none\""},
        Question{"Key", "<s op_code='del_regkey'><e name='HKCU\\prodsweep-none'/></s>",
                 "CProductUninstall::IsUsedRegKey",
                 [](RemovalPass& pass) { return pass.IsUsedRegKey(L"HKCU\\prodsweep-none", false); },
                 L"\"HKCU\\prodsweep-none\""},
        Question{"Value", "<s op_code='del_regvalue'><e key_path='HKEY_CURRENT_USER\\Software' name='v'/></s>",
                 "CProductUninstall::IsUsedRegValue",
                 [](RemovalPass& pass) { return pass.IsUsedRegValue(L"HKEY_CURRENT_USER\\Software", L"v", false); },
                 L"\"HKEY_CURRENT_USER\\Software\" \"v\""},
        Question{"Tool", "<s op_code='exec_tool'><e tool_name='C:\\prodsweep-none.exe' cmd_line='/s'/></s>",
                 "CProductUninstall::IsUsedTool",
                 [](RemovalPass& pass) { return pass.IsUsedTool(L"C:\\prodsweep-none.exe", L"/s"); },
                 L"\"C:\\prodsweep-none.exe\" \"/s\""}),
    [](const auto& row) { return std::string(row.param.name); });

TEST_F(InUseTest, KeyIsAskedForInItsView)
{
    checkList.push_back(Staying("<s op_code='del_regkey'><e name='HKCU\\in-32' x32view='1'/></s>"
                                "<s op_code='del_regkey'><e name='HKCU\\in-64'/></s>"));
    EXPECT_TRUE(pass.IsUsedRegKey(L"HKCU\\in-32", true));
    EXPECT_FALSE(pass.IsUsedRegKey(L"HKCU\\in-32", false));
    EXPECT_TRUE(pass.IsUsedRegKey(L"HKCU\\in-64", false));
    EXPECT_FALSE(pass.IsUsedRegKey(L"HKCU\\in-64", true));
}

TEST_F(InUseTest, ValueIsAskedForInItsView)
{
    const wchar_t* key = L"HKEY_CURRENT_USER\\Software";
    checkList.push_back(Staying("<s op_code='del_regvalue'><e key_path='HKCU\\Software' name='in 32' x32view='1'/>"
                                "<e key_path='HKCU\\Software' name='in 64'/></s>"));
    EXPECT_TRUE(pass.IsUsedRegValue(key, L"in 32", true));
    EXPECT_FALSE(pass.IsUsedRegValue(key, L"in 32", false));
    EXPECT_TRUE(pass.IsUsedRegValue(key, L"in 64", false));
    EXPECT_FALSE(pass.IsUsedRegValue(key, L"in 64", true));
}

} // namespace
} // namespace prodsweep
