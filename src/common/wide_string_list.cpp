#include "common/wide_string_list.h"

#include <algorithm>

namespace prodsweep {

bool Holds(const WideStringList& list, std::wstring_view text)
{
    return std::any_of(list.begin(), list.end(), [&](const std::wstring& entry) {
        return entry.size() == text.size() && std::equal(entry.rbegin(), entry.rend(), text.rbegin());
    });
}

} // namespace prodsweep
