#include "machine.h"

#include <gtest/gtest.h>

#include "support/import_patch.h"

namespace prodsweep {
namespace {

BOOL WINAPI SayNoMember(HANDLE, PSID, PBOOL member)
{
    *member = FALSE;
    return TRUE;
}

TEST(AdministratorRightsTest, TheTestsHaveThem) { EXPECT_TRUE(HasAdministratorRights()); }

TEST(AdministratorRightsTest, WhoIsNoMemberHasNone)
{
    const test::ImportPatch patch(nullptr, "CheckTokenMembership", SayNoMember);
    EXPECT_FALSE(HasAdministratorRights());
}

} // namespace
} // namespace prodsweep
