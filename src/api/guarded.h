#pragma once

namespace prodsweep {

// The body of an export: no exception crosses the boundary, each one becomes a false.
template <class Body>
[[nodiscard]] bool Guarded(const Body& body) noexcept
{
    try
    {
        return body();
    }
    catch (...)
    {
        return false;
    }
}

} // namespace prodsweep
