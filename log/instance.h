// The one logger of the process.
#pragma once

namespace prodsweep::logger {

class CWriter;

// Null when memory was short as log.dll was loaded: nothing is logged then.
CWriter* Instance() noexcept;

} // namespace prodsweep::logger
