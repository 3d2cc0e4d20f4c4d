// Finds out what a removal would do, with the library's own code up to where it would begin to do it, and a look at
// the machine from there on.
#pragma once

#include "plan.h"

namespace prodsweep {

class CLibrary;

// Whether files are tried for being open in a program, which takes as long as all the rest.
enum class OpenFiles
{
    Tried,
    LeftAlone // nothing waits for the restart then but what is marked for it
};

// The removal that "uninstall" would run for this selection: product by product for names, in one run for a whole
// catalogue. Changes nothing. Throws CFailure.
Plan MakePlan(const CLibrary& library, const PlanSelection& selection, OpenFiles openFiles);

} // namespace prodsweep
