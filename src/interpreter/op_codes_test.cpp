#include "interpreter/op_codes.h"

#include "support/recording_pass.h"

#include <gtest/gtest.h>

namespace prodsweep {
namespace {

struct Row
{
    const wchar_t* text;
    int event;
};

constexpr Row rows[] = {
    {L"del_file", 2},
    {L"del_folder", 3},
    {L"del_shortcut", 4},
    {L"del_regkey", 5},
    {L"del_regvalue", 6},
    // Out of order, and known so to callers.
    {L"kill_process", 8},
    {L"exec_tool", 7},
    {L"disable_driver", 9},
    {L"disable_service", 10},
    {L"disableandstop_driver", 11},
    {L"disableandstop_service", 12},
};

TEST(OpCodesTest, EachHasItsEventNumberAndThereIsNoOther)
{
    ASSERT_EQ(std::size(rows), OpCodes().size());
    for (const Row& row : rows)
    {
        const OpCode* opCode = FindOpCode(row.text);
        ASSERT_NE(nullptr, opCode) << row.text;
        EXPECT_EQ(row.event, opCode->event) << row.text;
    }
}

TEST(OpCodesTest, EachLeadsToTheOperationOfItsName)
{
    for (const Row& row : rows)
    {
        test::RecordingPass pass;
        EXPECT_TRUE((pass.*FindOpCode(row.text)->operation)({{L"a", L"b"}}, L"C:\\App"));
        ASSERT_EQ(1u, pass.calls.size());
        const std::wstring text = row.text;
        EXPECT_EQ(std::string(text.begin(), text.end()), pass.calls[0].operation);
        EXPECT_EQ((AttributeMap{{L"a", L"b"}}), pass.calls[0].attributes);
        EXPECT_EQ(L"C:\\App", pass.calls[0].appPath);
    }
}

TEST(OpCodesTest, CaseDoesNotCount)
{
    EXPECT_EQ(FindOpCode(L"del_file"), FindOpCode(L"DEL_File"));
    EXPECT_NE(nullptr, FindOpCode(L"DEL_File"));
}

TEST(OpCodesTest, WholeTextsAreCompared)
{
    for (const wchar_t* text : {L"", L"del_", L"del_file ", L"del_filex", L"sleep", L"exec_dll_method"})
        EXPECT_EQ(nullptr, FindOpCode(text)) << text;
}

} // namespace
} // namespace prodsweep
