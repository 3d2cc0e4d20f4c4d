#include "kind_option.h"

#include <algorithm>
#include <iterator>
#include <vector>

#include "command_line.h"
#include "prodsweep/prodsweep.h"

namespace prodsweep {

namespace {

struct KindChoice
{
    const char* name;
    int flags;
};

constexpr KindChoice kindChoices[] = {
    {"own", PRODSWEEP_LIST_OWN},
    {"other", PRODSWEEP_LIST_OTHER},
    {"all", PRODSWEEP_LIST_ALL},
};
static_assert(static_cast<int>(PRODSWEEP_LIST_OWN) == static_cast<int>(PRODSWEEP_KIND_OWN) &&
              static_cast<int>(PRODSWEEP_LIST_OTHER) == static_cast<int>(PRODSWEEP_KIND_OTHER));

std::vector<std::string> KindNames()
{
    std::vector<std::string> names;
    std::transform(std::begin(kindChoices), std::end(kindChoices), std::back_inserter(names),
                   [](const KindChoice& choice) { return choice.name; });
    return names;
}

const KindChoice* FindKind(const std::string& name)
{
    const auto* const found = std::find_if(std::begin(kindChoices), std::end(kindChoices),
                                           [&](const KindChoice& choice) { return choice.name == name; });
    return found == std::end(kindChoices) ? nullptr : found;
}

} // namespace

void AddKindOption(COptions& options, std::string& kind)
{
    options.AddChoice("--kind", kind, KindNames(), "KIND",
                      "own: the maker's family; other: other makers' products; all (default)");
}

bool IsKindName(const std::string& kind) { return FindKind(kind) != nullptr; }

int FlagsOfKind(const std::string& kind)
{
    const KindChoice* const choice = FindKind(kind);
    return choice == nullptr ? 0 : choice->flags;
}

} // namespace prodsweep
