#include "progress_bar.h"

#include <gtest/gtest.h>

namespace prodsweep {
namespace {

TEST(ProgressLineTest, ShowsBarNumberProductAndStage)
{
    EXPECT_EQ("[########............]  42 %  Anvil: folders", ProgressLine(42, "Anvil", "folders"));
    EXPECT_EQ("[....................]   0 %  Anvil", ProgressLine(0, "Anvil", ""));
}

TEST(ProgressLineTest, MoreThanAHundredIsShownAsAHundred)
{
    EXPECT_EQ("[####################] 100 %  Anvil", ProgressLine(140, "Anvil", ""));
}

} // namespace
} // namespace prodsweep
