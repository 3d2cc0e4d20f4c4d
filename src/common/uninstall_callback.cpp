#include "common/uninstall_callback.h"

namespace prodsweep {

void NotifyCallback(UninstallCallback callback, std::int32_t event, std::int32_t code, const void* value) noexcept
{
    if (callback == nullptr)
        return;
    try
    {
        callback(event, code, value);
    }
    catch (...)
    {
        // Not logged either: it is the caller's own affair, and the caller's own code knows of it.
        return;
    }
}

} // namespace prodsweep
