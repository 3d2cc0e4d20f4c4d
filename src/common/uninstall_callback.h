#pragma once

#include <prodsweep/prodsweep.h>

namespace prodsweep {

using ::UninstallCallback;

} // namespace prodsweep
