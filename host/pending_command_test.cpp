#include "pending_command.h"

#include <gtest/gtest.h>

#include "exit_codes.h"
#include "failure.h"
#include "output.h"
#include "support/import_patch.h"
#include "support/system_answers.h"

namespace prodsweep {
namespace {

TEST(PendingCommandTest, CancellingNeedsAnAdministratorsRights)
{
    const test::ImportPatch patch(nullptr, "CheckTokenMembership", test::SayNoMember);
    CCommandLine commandLine("", "");
    CPendingCommand command(commandLine);
    commandLine.Read({"pending", "--cancel", "C:/no such"});
    try
    {
        command.Run(COutput(STD_OUTPUT_HANDLE));
        ADD_FAILURE() << "it ran";
    }
    catch (const CFailure& failure)
    {
        EXPECT_EQ(exitNeedsRights, failure.ExitCode());
    }
}

} // namespace
} // namespace prodsweep
