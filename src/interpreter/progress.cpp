#include "interpreter/progress.h"

namespace prodsweep {

constinit std::atomic<std::int32_t> ProgressPercent{0};

} // namespace prodsweep
