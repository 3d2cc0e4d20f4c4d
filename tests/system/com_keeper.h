#pragma once

#include "support/com_scope.h"

#include <future>
#include <thread>

namespace prodsweep::test {

// Keeps COM up in the process, on a thread of its own. Without it each call of a thread without COM loads
// and unloads the parser, which takes ten times as long as the call's own work.
class ComKeeper
{
public:
    ComKeeper()
        : keeper([this] {
              const ComScope com(COINIT_MULTITHREADED);
              ready.set_value();
              done.get_future().wait();
          })
    {
        ready.get_future().wait();
    }
    ~ComKeeper()
    {
        done.set_value();
        keeper.join();
    }

private:
    std::promise<void> ready;
    std::promise<void> done;
    std::thread keeper;
};

} // namespace prodsweep::test
