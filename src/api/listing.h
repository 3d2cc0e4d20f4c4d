#pragma once

#include <windows.h>

#include <oleauto.h>

namespace prodsweep {

// What stands behind the listing exports of the same names; these may throw. The array, the flags and
// the results are told in the public header. On false *products is untouched.
[[nodiscard]] bool GetProducts(SAFEARRAY** products, int flags);
[[nodiscard]] bool GetInstalledProducts(SAFEARRAY** products, int flags);
[[nodiscard]] bool GetInstalledProductsEx(SAFEARRAY** products, int flags);

// extended: Guids holds GuidEntry elements in place of texts.
[[nodiscard]] bool GetInstalledProductsHelper(SAFEARRAY** products, int flags, bool extended);

} // namespace prodsweep
