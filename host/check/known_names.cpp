#include "check/known_names.h"

#include <algorithm>
#include <cwctype>
#include <iterator>
#include <numeric>

#include "check/findings.h"
#include "environment/special_folder.h"
#include "interpreter/attribute_map.h"

namespace prodsweep {

namespace {

constexpr EntryAttribute entryAttributes[] = {
    {L"del_file", L"path", AttributeUse::Optional},
    {L"del_file", L"name", AttributeUse::Required},
    {L"del_folder", L"path", AttributeUse::Optional}, // one of the two is required
    {L"del_folder", L"name", AttributeUse::Optional},
    {L"del_shortcut", L"path", AttributeUse::Required},
    {L"del_shortcut", L"target_name", AttributeUse::Required},
    {L"del_shortcut", L"rel_shortcut", AttributeUse::Optional},
    {L"del_shortcut", L"rel_target", AttributeUse::Optional},
    {L"del_regkey", L"name", AttributeUse::Required},
    {L"del_regkey", L"x32view", AttributeUse::Optional},
    {L"del_regkey", L"data_str", AttributeUse::Optional},
    {L"del_regkey", L"complete_str", AttributeUse::Optional},
    {L"del_regvalue", L"key_path", AttributeUse::Required},
    {L"del_regvalue", L"name", AttributeUse::Required},
    {L"del_regvalue", L"rel_name", AttributeUse::Optional},
    {L"del_regvalue", L"x32view", AttributeUse::Optional},
    {L"kill_process", L"target_name", AttributeUse::Required},
    {L"exec_tool", L"tool_name", AttributeUse::ToolOnly},
    {L"exec_tool", L"cmd_line", AttributeUse::ToolOnly},
    {L"exec_tool", L"wait", AttributeUse::ToolOnly},
    {L"exec_tool", L"show_window", AttributeUse::ToolOnly},
    {L"exec_tool", L"path", AttributeUse::Optional},
    {L"exec_tool", L"os", AttributeUse::Optional},
    {L"exec_tool", L"disable_wow64_redir", AttributeUse::Optional},
    {L"exec_tool", L"module", AttributeUse::Optional},
    {L"exec_tool", L"method_name", AttributeUse::RequiredWithModule},
    {L"exec_tool", L"sleep_after_exec", AttributeUse::MethodOnly},
    {L"disable_driver", L"name", AttributeUse::Required},
    {L"disable_service", L"name", AttributeUse::Required},
    {L"disableandstop_driver", L"name", AttributeUse::Required},
    {L"disableandstop_service", L"name", AttributeUse::Required},
};

constexpr std::wstring_view commonAttributes[] = {L"score", L"mandatory", L"restart_required"};

// The library's table of folders, which it keeps to itself and to those that derive.
class CFolderTable : private CSpecialFolder
{
public:
    CFolderTable() : CSpecialFolder({}) {}

    static std::vector<std::wstring> Keywords()
    {
        std::vector<std::wstring> keywords{L"app_path"};
        keywords.reserve(folders.size() + 1);
        for (const auto& [keyword, code] : folders)
            keywords.push_back(keyword);
        return keywords;
    }
};

// How many characters have to be changed, added or left out to come from one to the other.
std::size_t Distance(std::wstring_view left, std::wstring_view right)
{
    std::vector<std::size_t> row(right.size() + 1);
    std::iota(row.begin(), row.end(), std::size_t{0});
    for (std::size_t i = 0; i < left.size(); ++i)
    {
        std::size_t diagonal = row[0];
        row[0] = i + 1;
        for (std::size_t j = 0; j < right.size(); ++j)
        {
            const std::size_t above = row[j + 1];
            row[j + 1] = std::min({above + 1, row[j] + 1, diagonal + (left[i] == right[j] ? 0 : 1)});
            diagonal = above;
        }
    }
    return row.back();
}

} // namespace

std::span<const EntryAttribute> EntryAttributes() { return entryAttributes; }

std::span<const std::wstring_view> CommonAttributes() { return commonAttributes; }

const EntryAttribute* FindEntryAttribute(const std::wstring& opCode, std::wstring_view name)
{
    const auto* const found =
        std::find_if(std::begin(entryAttributes), std::end(entryAttributes),
                     [&](const auto& row) { return EqualIgnoringCase(opCode, row.opCode) && name == row.name; });
    return found != std::end(entryAttributes) ? found : nullptr;
}

std::vector<std::wstring_view> AttributesOf(const std::wstring& opCode)
{
    std::vector<std::wstring_view> names(std::begin(commonAttributes), std::end(commonAttributes));
    for (const EntryAttribute& row : entryAttributes)
    {
        if (EqualIgnoringCase(opCode, row.opCode))
            names.emplace_back(row.name);
    }
    return names;
}

const std::vector<std::wstring>& FolderKeywords()
{
    static const std::vector<std::wstring> keywords = (CFolderTable(), CFolderTable::Keywords());
    return keywords;
}

std::wstring Lowered(std::wstring_view text)
{
    std::wstring lowered(text);
    std::transform(lowered.begin(), lowered.end(), lowered.begin(),
                   [](wchar_t character) { return static_cast<wchar_t>(std::towlower(character)); });
    return lowered;
}

std::string Suggestion(std::wstring_view text, std::span<const std::wstring_view> known)
{
    // Texts that are compared here are names; whatever is much longer is like none of them.
    constexpr std::size_t longest = 64;
    if (text.size() > longest || known.empty())
        return {};
    const std::wstring lowered = Lowered(text);
    const auto distance = [&](std::wstring_view name) { return Distance(lowered, name); };
    const auto nearest = *std::min_element(known.begin(), known.end(),
                                           [&](auto left, auto right) { return distance(left) < distance(right); });
    // Up to a third of its letters wrong.
    return distance(nearest) * 3 <= nearest.size() ? " Is " + Quoted(nearest) + " meant?" : std::string();
}

} // namespace prodsweep
