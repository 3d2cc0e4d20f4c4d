#pragma once

#include "environment/log.h"
#include "environment/wow64.h"
#include "support/handle_count.h"
#include "support/log_recorder.h"
#include "support/registry_sandbox.h"

#include <gtest/gtest.h>

namespace prodsweep::test {

// For tests of one sandbox key. After each of them the canaries must be there, and no handle may be
// left open.
class RegistryFixture : public testing::Test
{
protected:
    RegistryFixture() { CWow64::Instance(); }

    void TearDown() override
    {
        EXPECT_TRUE(box.CanariesIntact());
        EXPECT_TRUE(handles.Unchanged());
    }

    RegistrySandbox box;
    LogRecorder log;
    HandleCount handles;
};

} // namespace prodsweep::test
