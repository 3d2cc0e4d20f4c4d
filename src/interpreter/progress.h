#pragma once

#include <atomic>
#include <cstdint>

namespace prodsweep {

// How far the removal of the current product has come, in per cent; may pass 100. Written by the
// thread that removes, always by an exchange, and read by any other. Nothing locks it.
extern constinit std::atomic<std::int32_t> ProgressPercent;

} // namespace prodsweep
