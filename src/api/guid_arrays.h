#pragma once

#include "catalogue/product_version.h"

#include <windows.h>

#include <oleauto.h>

namespace prodsweep {

// The last part of the key path of each detected version, as an array of BSTR: in catalogue order, one
// key as often as versions name it. *guids is null, and the result false, when there is none, or when
// an array step failed (logged).
[[nodiscard]] bool GetInstalledGuids(const VersionList& versions, SAFEARRAY** guids);

// One GuidEntry per distinct key path of a detected version, in catalogue order. Always true; *guids is
// not written when there is none.
bool GetInstalledGuidsEx(const VersionList& versions, SAFEARRAY** guids);

// Allocates an array and gives access to its elements, which are all zero. Each failure is logged, and
// none stops it: the result is that of the last step, the access. *data may be null even on success,
// when memory was short, and *array may then be null or an array without data. An array that was
// accessed is to be unaccessed by the caller.
HRESULT AllocSafeArray(SAFEARRAY** array, unsigned int elementSize, unsigned int elementCount, void** data);

} // namespace prodsweep
