// What the items of a sweep take along, or end, that come before the one that is looked at.
#pragma once

#include <map>
#include <string>

namespace prodsweep {

class CSweptPlaces
{
public:
    // A file or folder with all below it; a key with all below it. They may be given in any case.
    void AddPath(const std::wstring& path) { Add(paths, path); }
    void AddKey(const std::wstring& key) { Add(keys, key); }

    // The place, as it was added, that takes this along: it is that place or lies below it. Empty: none does.
    std::wstring TakesPath(const std::wstring& path) const { return Find(paths, path); }
    std::wstring TakesKey(const std::wstring& key) const { return Find(keys, key); }

    // A program that runs now, and has been ended when files are dealt with: its file is free then.
    void AddProgram(const std::wstring& path) { Add(programs, path); }
    bool EndsProgram(const std::wstring& path) const { return !Find(programs, path).empty(); }

private:
    using Places = std::map<std::wstring, std::wstring>; // in lower case, as added
    static void Add(Places& places, const std::wstring& place);
    static std::wstring Find(const Places& places, const std::wstring& place);

    Places paths;
    Places keys;
    Places programs;
};

} // namespace prodsweep
