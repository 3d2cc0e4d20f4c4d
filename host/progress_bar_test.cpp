#include "progress_bar.h"

#include <gtest/gtest.h>

namespace prodsweep {
namespace {

TEST(ProgressLineTest, ShowsBarNumberProductAndStage)
{
    EXPECT_EQ("[########............]  42 %  Anvil: folders", ProgressLine(42, "Anvil", "folders", 80));
    EXPECT_EQ("[....................]   0 %  Anvil", ProgressLine(0, "Anvil", "", 80));
}

TEST(ProgressLineTest, MoreThanAHundredIsShownAsAHundred)
{
    EXPECT_EQ("[####################] 100 %  Anvil", ProgressLine(140, "Anvil", "", 80));
}

TEST(ProgressLineTest, LongNameIsCutSoThatTheStageIsSeen)
{
    const std::string name = "Anvil " + std::string(200, 'x');
    EXPECT_EQ("[########............]  42 %  Anvil xxx...: folders", ProgressLine(42, name, "folders", 52));
    EXPECT_EQ("[########............]  42 %  Anvil: folders", ProgressLine(42, "Anvil", "folders", 45));
    EXPECT_EQ("[########............]  42 %  An...: folders", ProgressLine(42, "Anvils", "folders", 45));
}

TEST(ProgressLineTest, ConsoleThatIsTooNarrowForMoreStillGetsOneLine)
{
    EXPECT_EQ("[########............]  42 ...", ProgressLine(42, "Anvil", "folders", 31));
    EXPECT_EQ("...", ProgressLine(42, "Anvil", "folders", 4));
    EXPECT_EQ("", ProgressLine(42, "Anvil", "folders", 1));
    EXPECT_EQ("", ProgressLine(42, "Anvil", "folders", 0));
}

} // namespace
} // namespace prodsweep
