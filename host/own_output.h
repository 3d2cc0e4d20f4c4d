// Standard output for this program alone.
#pragma once

namespace prodsweep {

// From here to the end of the process only a COutput that was made before writes to standard output. What a tool or a
// method that is called prints there goes to standard error.
void KeepOutputToOurselves();

} // namespace prodsweep
