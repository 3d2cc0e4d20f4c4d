#include "settings.h"

#include <algorithm>
#include <optional>

#include "debug_note.h"
#include "levels.h"
#include "paths.h"

namespace prodsweep::logger {

namespace {

constexpr std::wstring_view blanks = L" \t\r";

std::wstring_view Trim(std::wstring_view text)
{
    const std::size_t first = text.find_first_not_of(blanks);
    if (first == std::wstring_view::npos)
        return {};
    return text.substr(first, text.find_last_not_of(blanks) + 1 - first);
}

bool Is(std::wstring_view text, std::wstring_view word)
{
    return CompareStringOrdinal(text.data(), static_cast<int>(text.size()), word.data(), static_cast<int>(word.size()),
                                TRUE) == CSTR_EQUAL;
}

struct Word
{
    std::wstring_view text;
    int number;
};

template <std::size_t Count>
std::optional<int> NumberOf(std::wstring_view value, const Word (&words)[Count])
{
    const auto* const found =
        std::find_if(std::begin(words), std::end(words), [&](const Word& w) { return Is(value, w.text); });
    return found == std::end(words) ? std::nullopt : std::optional(found->number);
}

std::optional<int> ReadNumber(std::wstring_view value, int most)
{
    int number = 0;
    for (const wchar_t digit : value)
    {
        if (digit < L'0' || digit > L'9' || number > (most - (digit - L'0')) / 10)
            return std::nullopt;
        number = number * 10 + (digit - L'0');
    }
    return value.empty() ? std::nullopt : std::optional(number);
}

constexpr Word switches[] = {{L"yes", 1}, {L"no", 0}, {L"true", 1}, {L"false", 0}, {L"1", 1}, {L"0", 0}};
constexpr Word types[] = {{L"text", LOG_TYPE_TEXT}, {L"json", LOG_TYPE_JSON}};
constexpr Word modes[] = {{L"append", LOG_MODE_APPEND}, {L"overwrite", LOG_MODE_OVERWRITE}};

int LevelNamed(std::wstring_view name)
{
    const auto* const found =
        std::find_if(std::begin(levels), std::end(levels), [&](const Level& level) { return Is(name, level.name); });
    return found == std::end(levels) ? 0 : found->number;
}

// "all", "none", or names with commas between them.
std::optional<int> ReadLevels(std::wstring_view value)
{
    constexpr Word words[] = {{L"all", LOG_LEVEL_ALL}, {L"none", 0}};
    if (const std::optional<int> whole = NumberOf(value, words))
        return whole;
    int sum = 0;
    while (!value.empty())
    {
        const std::size_t comma = std::min(value.find(L','), value.size());
        const int level = LevelNamed(Trim(value.substr(0, comma)));
        if (level == 0)
            return std::nullopt;
        sum |= level;
        value.remove_prefix(std::min(comma + 1, value.size()));
    }
    return sum == 0 ? std::nullopt : std::optional(sum);
}

template <class Field>
bool Assign(Field& field, const std::optional<int>& number)
{
    if (number)
        field = static_cast<Field>(*number);
    return number.has_value();
}

struct Key
{
    std::wstring_view name;
    bool (*read)(Settings& settings, std::wstring_view value, const std::wstring& folder);
};

constexpr int mostKib = 1024 * 1024 * 1024;

constexpr Key keys[] = {
    {L"enabled", [](auto& s, auto value, auto&) { return Assign(s.enabled, NumberOf(value, switches)); }},
    {L"levels", [](auto& s, auto value, auto&) { return Assign(s.levels, ReadLevels(value)); }},
    {L"path",
     [](auto& s, auto value, auto& folder) {
         const std::wstring path = FullPathBelow(folder, ExpandVariables(std::wstring(value)));
         if (!path.empty())
             s.path = path;
         return !path.empty();
     }},
    {L"format", [](auto& s, auto value, auto&) { return Assign(s.type, NumberOf(value, types)); }},
    {L"mode", [](auto& s, auto value, auto&) { return Assign(s.mode, NumberOf(value, modes)); }},
    {L"max_size", [](auto& s, auto value, auto&) { return Assign(s.maxSize, ReadNumber(value, mostKib)); }},
    {L"keep", [](auto& s, auto value, auto&) { return Assign(s.depth, ReadNumber(value, mostKept)); }},
};

bool ReadLine(Settings& settings, std::wstring_view line, const std::wstring& folder)
{
    const std::size_t sign = line.find(L'=');
    if (sign == std::wstring_view::npos)
        return false;
    const std::wstring_view name = Trim(line.substr(0, sign));
    const auto* const key =
        std::find_if(std::begin(keys), std::end(keys), [&](const Key& k) { return Is(name, k.name); });
    return key != std::end(keys) && key->read(settings, Trim(line.substr(sign + 1)), folder);
}

} // namespace

Settings DefaultSettings()
{
    Settings settings;
    settings.path = FullPathBelow({}, ExpandVariables(L"%TEMP%\\prodsweep.log"));
    return settings;
}

Settings ParseSettings(std::wstring_view text, const std::wstring& folder)
{
    Settings settings = DefaultSettings();
    while (!text.empty())
    {
        const std::size_t end = std::min(text.find(L'\n'), text.size());
        const std::wstring_view line = Trim(text.substr(0, end));
        text.remove_prefix(std::min(end + 1, text.size()));
        // The name of a section is allowed, for editors that know such files, and has no meaning.
        const bool isEmpty = line.empty() || line.front() == L';' || line.front() == L'#' || line.front() == L'[';
        if (!isEmpty && !ReadLine(settings, line, folder))
            Note(L"the settings file has a line without meaning: " + std::wstring(line));
    }
    return settings;
}

} // namespace prodsweep::logger
