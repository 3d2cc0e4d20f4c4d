// A file that is there whole, or as it was.
#pragma once

#include <string>
#include <string_view>

namespace prodsweep {

// what: "the plan", for the sentence of a failure; path: UTF-8. An older file stays until the new one is whole; after
// a failure nothing is left behind. Throws CFailure.
void WriteWholeFile(const std::string& what, const std::string& path, std::string_view bytes);

} // namespace prodsweep
