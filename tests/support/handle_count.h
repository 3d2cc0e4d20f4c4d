#pragma once

#include <gtest/gtest.h>

namespace prodsweep::test {

// The handles of this process (files, registry keys, threads, tokens, ...), counted when it was made.
// Let the code under test run once before: the first call of many a service opens what it then keeps.
class HandleCount
{
public:
    HandleCount() : before(Now()) {}

    // More handles than before, or (negative) fewer.
    [[nodiscard]] int Growth() const { return Now() - before; }
    [[nodiscard]] testing::AssertionResult Unchanged() const;

private:
    [[nodiscard]] static int Now();

    int before;
};

} // namespace prodsweep::test
