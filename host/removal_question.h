// What a person is asked before a removal, and whether it is still that when the answer comes.
#pragma once

#include <string>

#include "plan.h"

namespace prodsweep {

// Names all that the removal would deal with: what was chosen, and what is cleaned up with the last of a kind.
std::string QuestionText(const Plan& plan);

// What would be dealt with now and was not named in the question, as a clause: "\"Bellows\" would be cleaned up as
// well". Empty: nothing.
std::string FindUnasked(const Plan& asked, const Plan& now);

} // namespace prodsweep
