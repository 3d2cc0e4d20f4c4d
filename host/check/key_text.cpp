#include "check/key_text.h"

#include <algorithm>
#include <vector>

#include "check/findings.h"
#include "check/known_names.h"
#include "interpreter/attribute_map.h"
#include "registry/split_key_path.h"

namespace prodsweep {

namespace {

// The library's table of hives, which it keeps to itself and to those that derive.
class CHiveTable : private CSplitKeyPath
{
public:
    static std::vector<std::wstring> Spellings()
    {
        const CHiveTable filled;
        std::vector<std::wstring> spellings;
        spellings.reserve(hives.size());
        for (const auto& [spelling, hive] : hives)
            spellings.push_back(spelling);
        return spellings;
    }
};

} // namespace

KeyText SplitKeyText(const std::wstring& text)
{
    KeyText key;
    key.hiveKnown = CSplitKeyPath().Split(text.c_str(), key.root, key.subkey);
    if (key.hiveKnown)
        key.hive = HiveName(key.root);
    return key;
}

std::string HiveFault(const std::wstring& text)
{
    const std::size_t separator = text.find_first_of(L"\\/");
    const std::wstring hive = text.substr(0, separator);
    const std::vector<std::wstring> spellings = CHiveTable::Spellings();
    const auto isHive = [&](const std::wstring& spelling) { return EqualIgnoringCase(spelling, hive.c_str()); };
    const auto meant = std::find_if(spellings.begin(), spellings.end(), isHive);
    if (meant != spellings.end() && separator == std::wstring::npos)
        return Quoted(text) + R"( has no "\" behind the hive.)";
    if (meant != spellings.end())
        return "The hive " + Quoted(hive) + " is not spelled " + Quoted(*meant) + '.';
    return Quoted(hive) + " is no hive.";
}

bool HasOddSeparator(std::wstring_view subkey)
{
    return subkey.find(L'/') != std::wstring_view::npos || subkey.find(L"\\\\") != std::wstring_view::npos ||
           subkey.starts_with(L'\\');
}

} // namespace prodsweep
