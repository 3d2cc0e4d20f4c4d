// Numbers and words of a plan's page.
#pragma once

#include <cstdint>
#include <string>

#include "plan.h"

namespace prodsweep {

// "12,345"
std::string Digits(std::uint64_t number);

// "1 file", "2,000 files"
std::string Counted(std::uint64_t number, const char* one, const char* many);

// "999 bytes", "1.5 MB", as file managers show it
std::string SizeText(std::uint64_t bytes);

// "3 folders, 120 files, 1.5 MB"; what is not there is left out. Empty when nothing would go.
std::string GoingText(const PlannedContents& contents);

// What a state means, in a sentence without its subject.
const char* StateMeaning(ItemState state);

// The state's word as part of an identifier: "in-use".
std::string StateClass(ItemState state);

} // namespace prodsweep
