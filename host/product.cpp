#include "product.h"

#include "prodsweep/prodsweep.h"

namespace prodsweep {

const char* KindName(int kind) { return kind == PRODSWEEP_KIND_OWN ? "own" : "other"; }

} // namespace prodsweep
