#include "support/method_patch.h"

#include "support/import_patch.h"

namespace prodsweep::test {

MethodPatch::MethodPatch(IUnknown* object, DomSlot place, void* replacement, int)
    : slot(*reinterpret_cast<void***>(object) + static_cast<std::size_t>(place)), original(*slot)
{
    WriteProtected(static_cast<void*>(slot), replacement);
}

MethodPatch::~MethodPatch() { WriteProtected(static_cast<void*>(slot), original); }

} // namespace prodsweep::test
