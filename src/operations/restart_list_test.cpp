#include "operations/operations.h"

#include "environment/log.h"
#include "support/log_recorder.h"

#include <gtest/gtest.h>

namespace prodsweep {
namespace {

TEST(AddRestartDelTest, PathsAreListedOnceInTheOrderInWhichTheyCame)
{
    const test::LogRecorder log;
    WideStringList list = {L"C:\\before"};
    COperations operations(&list);

    for (const wchar_t* path : {L"C:\\b", L"C:\\a", L"C:\\b", L"C:\\before"})
        operations.AddRestartDel(std::wstring(path));

    EXPECT_EQ((WideStringList{L"C:\\before", L"C:\\b", L"C:\\a"}), list);
    EXPECT_EQ(1, log.Count(LogTrace, "COperations::AddRestartDel", L"\"C:\\b\""));
    EXPECT_EQ(2u, log.Records().size());
}

TEST(AddRestartDelTest, SpellingsInDifferentCaseAreTwoEntries)
{
    WideStringList list;
    COperations operations(&list);

    operations.AddRestartDel(std::wstring(L"C:\\App"));
    operations.AddRestartDel(std::wstring(L"C:\\APP"));

    EXPECT_EQ((WideStringList{L"C:\\App", L"C:\\APP"}), list);
}

TEST(AddRestartDelTest, EmptyPathIsAnEntryLikeAnyOther)
{
    WideStringList list;
    COperations operations(&list);

    operations.AddRestartDel(std::wstring());
    operations.AddRestartDel(std::wstring());

    EXPECT_EQ(WideStringList{L""}, list);
}

} // namespace
} // namespace prodsweep
