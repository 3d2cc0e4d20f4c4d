// Where a path really leads.
#pragma once

#include <string>

namespace prodsweep {

// The full path, with links followed, short names written out, and without the prefixes and trailing dots that Windows
// skips: as far as the path exists; what does not follows as it is spelt. Nothing is changed by looking.
std::wstring RealPath(const std::wstring& path);

// The same, when that is another place than the path says; else empty.
std::wstring LeadsElsewhere(const std::wstring& path);

} // namespace prodsweep
