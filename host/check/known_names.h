// The names that the format knows, and the nearest of them to one that it does not.
#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace prodsweep {

// How an attribute of an entry is read.
enum class AttributeUse
{
    Optional,
    Required,
    ToolOnly,          // of exec_tool, without module
    MethodOnly,        // with module
    RequiredWithModule // as well
};

struct EntryAttribute
{
    const wchar_t* opCode;
    const wchar_t* name;
    AttributeUse use;
};

// All attributes that some operation reads. Those that every entry may have are apart, below.
std::span<const EntryAttribute> EntryAttributes();
// score, mandatory and restart_required.
std::span<const std::wstring_view> CommonAttributes();

// Those of one op_code. Null for one that it does not read.
const EntryAttribute* FindEntryAttribute(const std::wstring& opCode, std::wstring_view name);
// With the common ones.
std::vector<std::wstring_view> AttributesOf(const std::wstring& opCode);

// All folder keywords, app_path included.
const std::vector<std::wstring>& FolderKeywords();

std::wstring Lowered(std::wstring_view text);

// " Is \"...\" meant?" with the name that text is most like; empty if it is like none.
std::string Suggestion(std::wstring_view text, std::span<const std::wstring_view> known);

} // namespace prodsweep
