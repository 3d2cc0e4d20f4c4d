#include "swept_places.h"

#include "text.h"

namespace prodsweep {

namespace {

// Without separators at its end.
std::wstring Trimmed(std::wstring place)
{
    while (!place.empty() && (place.back() == L'\\' || place.back() == L'/'))
        place.pop_back();
    return ToLower(place);
}

} // namespace

void CSweptPlaces::Add(Places& places, const std::wstring& place) { places.emplace(Trimmed(place), place); }

std::wstring CSweptPlaces::Find(const Places& places, const std::wstring& place)
{
    for (std::wstring part = Trimmed(place); !part.empty();)
    {
        const auto found = places.find(part);
        if (found != places.end())
            return found->second;
        const std::size_t separator = part.find_last_of(L'\\');
        part.resize(separator == std::wstring::npos ? 0 : separator);
    }
    return {};
}

} // namespace prodsweep
