// What the items of a sweep take along, or end, that come before the one that is looked at.
#pragma once

#include <map>
#include <set>
#include <string>
#include <vector>

namespace prodsweep {

class CSweptPlaces
{
public:
    // What stays of a folder.
    struct Rest
    {
        std::vector<std::wstring> whole;  // with all below it
        std::vector<std::wstring> around; // folders that stay for the sake of what is in them
    };

    // A file or folder with all below it; a key with all below it. They may be given in any case.
    void AddPath(const std::wstring& path, const Rest& rest = {});
    void AddKey(const std::wstring& key) { Add(keys, key); }
    // by: what takes the value, which may be a pattern.
    void AddValue(const std::wstring& key, const std::wstring& name, const std::wstring& by)
    {
        values.emplace(NameOfValue(key, name), by);
    }

    // The place, as it was added, that takes this along: it is that place or lies below it. Empty: none does.
    std::wstring TakesPath(const std::wstring& path) const;
    std::wstring TakesKey(const std::wstring& key) const { return Find(keys, key, {}); }
    std::wstring TakesValue(const std::wstring& key, const std::wstring& name) const;

    // A program that runs now, and has been ended when files are dealt with: its file is free then.
    void AddProgram(const std::wstring& path) { Add(programs, path); }
    bool EndsProgram(const std::wstring& path) const { return !Find(programs, path, {}).empty(); }

private:
    using Places = std::map<std::wstring, std::wstring>; // in lower case, as added
    static void Add(Places& places, const std::wstring& place);
    static std::wstring NameOfValue(const std::wstring& key, const std::wstring& name);
    static std::wstring Find(const Places& places, const std::wstring& place, const std::set<std::wstring>& kept);

    Places paths;
    std::set<std::wstring> keptWhole; // both in lower case
    std::set<std::wstring> keptAround;
    Places keys;
    Places values; // by NameOfValue
    Places programs;
};

} // namespace prodsweep
