#include "real_path.h"

#include <gtest/gtest.h>

#include "support/import_patch.h"
#include "support/tell_path.h"
#include "text.h"

namespace prodsweep {
namespace {

struct PathCase
{
    const wchar_t* spelt;
    const wchar_t* real;
};

class RealPathTest : public testing::TestWithParam<PathCase>
{};

TEST_P(RealPathTest, SpellingsOfAPathComeToOne)
{
    EXPECT_EQ(ToLower(GetParam().real), ToLower(RealPath(GetParam().spelt)));
}

const PathCase pathCases[] = {
    {L"C:\\windows", L"C:\\windows"},
    {L"C:\\windows\\", L"C:\\windows"},
    {L"C:/windows/system32/..", L"C:\\windows"},
    {L"\\\\?\\C:\\windows", L"C:\\windows"},
    {L"\\\\.\\C:\\windows", L"C:\\windows"},
    {L"C:\\windows. .", L"C:\\windows"},
    {L"C:", L"C:\\"},
    // What does not exist follows what does.
    {L"C:\\windows\\no such\\folder", L"C:\\windows\\no such\\folder"},
    {L"C:\\no such\\..\\windows", L"C:\\windows"},
    {L"Q:\\none", L"Q:\\none"},
};
INSTANTIATE_TEST_SUITE_P(Spellings, RealPathTest, testing::ValuesIn(pathCases));

// As a link far up leads, and at the length that a short buffer just does not hold.
const std::wstring deepTarget = LR"(\\?\C:\)" + std::wstring(120, L'a') + L'\\' + std::wstring(125, L'b') + L"\\Target";

DWORD WINAPI TellDeepTarget(HANDLE, LPWSTR buffer, DWORD size, DWORD)
{
    return test::TellPath(deepTarget, buffer, size);
}

TEST(RealPathTest, LinkToADeepFolderIsFollowed)
{
    const test::ImportPatch patch(nullptr, "GetFinalPathNameByHandleW", TellDeepTarget);

    ASSERT_EQ(std::size_t{MAX_PATH}, deepTarget.size());
    EXPECT_EQ(deepTarget.substr(4), RealPath(L"C:\\windows"));
}

TEST(LeadsElsewhereTest, PathThatLeadsWhereItSaysIsLeftOut)
{
    EXPECT_EQ(L"", LeadsElsewhere(L"C:\\WINDOWS\\"));
    EXPECT_NE(L"", LeadsElsewhere(L"C:\\windows\\..\\windows"));
}

} // namespace
} // namespace prodsweep
