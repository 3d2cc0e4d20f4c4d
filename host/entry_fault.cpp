#include "entry_fault.h"

#include "interpreter/entry_composer.h"
#include "text.h"

namespace prodsweep {

std::string FaultText(const ComposedEntry& composed)
{
    switch (composed.fault)
    {
    case EntryFault::None:
        return {};
    case EntryFault::NoName:
        return "it has no name";
    case EntryFault::NoNameNoPath:
        return "it has neither name nor path";
    case EntryFault::NoPath:
        return "it has no path";
    case EntryFault::NoTarget:
        return "it has no target_name";
    case EntryFault::NoKeyPath:
        return "it has no key_path";
    case EntryFault::NoNameNoKeyPath:
        return "it has neither name nor key_path";
    case EntryFault::UnknownFolder:
        return "the folder \"" + ToUtf8(composed.keyword) + "\" is not known";
    case EntryFault::NoModule:
        return "it has no module";
    case EntryFault::NoMethodName:
        return "it has no method_name";
    case EntryFault::NoLibraryFolder:
        break;
    }
    return "the folder of the library is not known";
}

} // namespace prodsweep
