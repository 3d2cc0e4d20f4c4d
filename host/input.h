// Answers typed on the console.
#pragma once

#include <optional>

namespace prodsweep {

// "y" or "yes", in any case, is a yes; everything else a no. Nothing when standard input is no console.
std::optional<bool> ReadYesOrNo();

} // namespace prodsweep
