#include "support/method_patch.h"

#include "support/import_patch.h"

namespace prodsweep::test {

MethodPatch::MethodPatch(IUnknown* object, DomSlot place, void* replacement, int)
    : slot(*reinterpret_cast<void***>(object) + static_cast<std::size_t>(place)), original(*slot)
{
    WriteProtected(slot, replacement);
}

MethodPatch::~MethodPatch() { WriteProtected(slot, original); }

} // namespace prodsweep::test
