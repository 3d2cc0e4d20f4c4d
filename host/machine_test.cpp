#include "machine.h"

#include <gtest/gtest.h>

#include "support/import_patch.h"
#include "support/system_answers.h"

namespace prodsweep {
namespace {

TEST(AdministratorRightsTest, TheTestsHaveThem) { EXPECT_TRUE(HasAdministratorRights()); }

TEST(AdministratorRightsTest, WhoIsNoMemberHasNone)
{
    const test::ImportPatch patch(nullptr, "CheckTokenMembership", test::SayNoMember);
    EXPECT_FALSE(HasAdministratorRights());
}

} // namespace
} // namespace prodsweep
