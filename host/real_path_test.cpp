#include "real_path.h"

#include <gtest/gtest.h>

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

TEST(LeadsElsewhereTest, PathThatLeadsWhereItSaysIsLeftOut)
{
    EXPECT_EQ(L"", LeadsElsewhere(L"C:\\WINDOWS\\"));
    EXPECT_NE(L"", LeadsElsewhere(L"C:\\windows\\..\\windows"));
}

} // namespace
} // namespace prodsweep
