#include "common/result_codes.h"

#include <gtest/gtest.h>

namespace prodsweep {
namespace {

TEST(ResultCodeNameTest, EachCodeHasItsName)
{
    EXPECT_STREQ(L"_ERROR_SUCCESS", ResultCodeName(0));
    EXPECT_STREQ(L"_ERROR_NOT_FOUND", ResultCodeName(1));
    EXPECT_STREQ(L"_ERROR_FAILED", ResultCodeName(2));
    EXPECT_STREQ(L"_ERROR_UNKNOWN", ResultCodeName(3));
}

TEST(ResultCodeNameTest, AnyOtherNumberIsUndefinedWithoutLeadingUnderscore)
{
    EXPECT_STREQ(L"ERROR_UNDEF", ResultCodeName(4));
    EXPECT_STREQ(L"ERROR_UNDEF", ResultCodeName(-1));
}

} // namespace
} // namespace prodsweep
