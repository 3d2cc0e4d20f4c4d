#pragma once

namespace prodsweep {

// The body of an export: no exception crosses the boundary, each one becomes a false. Without a line in the log:
// an exception means that memory is short, and so would the log's be.
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
