#include "support/handle_count.h"

#include "common/unique_reg_key.h"

#include <gtest/gtest.h>

namespace prodsweep::test {
namespace {

TEST(HandleCountTest, EventIsCountedUntilItIsClosed)
{
    const HandleCount handles;
    EXPECT_TRUE(handles.Unchanged());

    const HANDLE event = CreateEventW(nullptr, FALSE, FALSE, nullptr);
    EXPECT_EQ(1, handles.Growth());
    EXPECT_FALSE(handles.Unchanged());

    CloseHandle(event);
    EXPECT_TRUE(handles.Unchanged());
}

TEST(HandleCountTest, RegistryKeyIsCounted)
{
    HKEY opened = nullptr;
    ASSERT_EQ(ERROR_SUCCESS, RegOpenKeyExW(HKEY_CURRENT_USER, L"Software", 0, KEY_READ, &opened));
    UniqueRegKey key(opened);
    const HandleCount handles;

    key.reset();

    EXPECT_EQ(-1, handles.Growth());
}

} // namespace
} // namespace prodsweep::test
