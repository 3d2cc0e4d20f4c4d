#pragma once

#include <prodsweep/prodsweep.h>

#include <cstdint>

namespace prodsweep {

using ::UninstallCallback;

// Tells a callback, if there is one. What it throws ends here, as if it had returned: a removal broken
// off in its middle leaves a product that is neither there nor gone.
void NotifyCallback(UninstallCallback callback, std::int32_t event, std::int32_t code,
                    const void* value = nullptr) noexcept;

} // namespace prodsweep
