#include "forbidden_places.h"

namespace prodsweep {

CForbiddenPlaces::CForbiddenPlaces(const std::wstring& /*libraryFolder*/) {}

const ForbiddenPlace* CForbiddenPlaces::OfPath(const std::wstring& /*realPath*/) const { return nullptr; }

const ForbiddenPlace* CForbiddenPlaces::OfKey(HKEY /*hive*/, const std::wstring& /*subkey*/) const { return nullptr; }

const ForbiddenPlace* CForbiddenPlaces::OfService(const std::wstring& /*name*/) const { return nullptr; }

} // namespace prodsweep
