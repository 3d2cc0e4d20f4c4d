#pragma once

#include <prodsweep/prodsweep.h>

namespace prodsweep {

// What stands behind the removal exports of the same names; these may throw. Arguments, results and
// the rules of restart are told in the public header. restart is never null here.
[[nodiscard]] bool UninstallProducts(SAFEARRAY* products, bool* restart, UninstallCallback callback);
[[nodiscard]] bool UninstallProduct(const ProductEntry* product, bool* restart, UninstallCallback callback);
[[nodiscard]] bool UninstallForceAll(int kind, bool* restart, UninstallCallback callback);
[[nodiscard]] bool UninstallAllInstalled(int kind, bool* restart, UninstallCallback callback);

} // namespace prodsweep
