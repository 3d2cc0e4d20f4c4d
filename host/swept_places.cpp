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

void ForgetAtAndBelow(std::set<std::wstring>& places, const std::wstring& place)
{
    places.erase(place);
    const std::wstring below = place + L'\\';
    const auto first = places.lower_bound(below);
    auto last = first;
    while (last != places.end() && last->starts_with(below))
        ++last;
    places.erase(first, last);
}

} // namespace

void CSweptPlaces::Add(Places& places, const std::wstring& place) { places.emplace(Trimmed(place), place); }

std::wstring CSweptPlaces::Find(const Places& places, const std::wstring& place, const std::set<std::wstring>& kept)
{
    for (std::wstring part = Trimmed(place); !part.empty();)
    {
        if (kept.contains(part))
            return {};
        const auto found = places.find(part);
        if (found != places.end())
            return found->second;
        const std::size_t separator = part.find_last_of(L'\\');
        part.resize(separator == std::wstring::npos ? 0 : separator);
    }
    return {};
}

// No part of a key's name is empty, so none looks like this.
std::wstring CSweptPlaces::NameOfValue(const std::wstring& key, const std::wstring& name)
{
    return Trimmed(key) + L"\\\\" + ToLower(name);
}

void CSweptPlaces::AddPath(const std::wstring& path, const Rest& rest)
{
    Add(paths, path);
    // What stayed before may go now.
    for (std::set<std::wstring>* const kept : {&keptWhole, &keptAround})
        ForgetAtAndBelow(*kept, Trimmed(path));
    for (const std::wstring& place : rest.whole)
        keptWhole.insert(Trimmed(place));
    for (const std::wstring& place : rest.around)
        keptAround.insert(Trimmed(place));
}

std::wstring CSweptPlaces::TakesPath(const std::wstring& path) const
{
    return keptAround.contains(Trimmed(path)) ? std::wstring() : Find(paths, path, keptWhole);
}

std::wstring CSweptPlaces::TakesValue(const std::wstring& key, const std::wstring& name) const
{
    const auto found = values.find(NameOfValue(key, name));
    return found == values.end() ? std::wstring() : found->second;
}

} // namespace prodsweep
