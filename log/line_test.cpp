#include "line.h"

#include <gtest/gtest.h>

#include "prodsweep/log.h"

namespace prodsweep::logger {
namespace {

Record Sample(int level)
{
    return {{2026, 3, 0, 7, 4, 5, 6, 78}, 1234, 56, level, L"CProducts::Load", L"load \"C:\\x\" failed 0x2"};
}

TEST(ComposeLineTest, TextHasItsPartsInOrder)
{
    EXPECT_EQ("2026-03-07T04:05:06.078Z 1234 56 error CProducts::Load: load \"C:\\x\" failed 0x2\r\n",
              ComposeLine(Sample(LOG_LEVEL_ERROR), LOG_TYPE_TEXT));
}

TEST(ComposeLineTest, JsonHasTheSameParts)
{
    EXPECT_EQ(R"({"time":"2026-03-07T04:05:06.078Z","process":1234,"thread":56,"level":"trace",)"
              R"("function":"CProducts::Load","text":"load \"C:\\x\" failed 0x2"})"
              "\n",
              ComposeLine(Sample(LOG_LEVEL_TRACE), LOG_TYPE_JSON));
}

TEST(ComposeLineTest, LevelsHaveNamesAndOthersNumbers)
{
    const std::pair<int, std::string> named[] = {{4, "error"},    {8, "tolerated"}, {16, "trace"},
                                                 {32, "skipped"}, {12, "12"},       {-1, "-1"}};
    for (const auto& [level, name] : named)
        EXPECT_NE(std::string::npos, ComposeLine(Sample(level), LOG_TYPE_TEXT).find(" 56 " + name + " CProducts"));
}

TEST(ComposeLineTest, FunctionNameCannotBreakTheLine)
{
    Record record = Sample(LOG_LEVEL_ERROR);
    record.function = L"f\n\"";
    EXPECT_NE(std::string::npos, ComposeLine(record, LOG_TYPE_TEXT).find("f<U+000A>\": load"));
    EXPECT_NE(std::string::npos, ComposeLine(record, LOG_TYPE_JSON).find(R"("f\u000a\"",)"));
}

} // namespace
} // namespace prodsweep::logger
