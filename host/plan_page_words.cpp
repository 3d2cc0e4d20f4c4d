#include "plan_page_words.h"

#include <algorithm>
#include <array>
#include <cstdio>

namespace prodsweep {

std::string Digits(std::uint64_t number)
{
    std::string digits = std::to_string(number);
    for (std::size_t behind = 3; behind < digits.size(); behind += 4)
        digits.insert(digits.size() - behind, 1, ',');
    return digits;
}

std::string Counted(std::uint64_t number, const char* one, const char* many)
{
    return Digits(number) + ' ' + (number == 1 ? one : many);
}

std::string SizeText(std::uint64_t bytes)
{
    static constexpr const char* units[] = {"KB", "MB", "GB", "TB", "PB", "EB"};
    if (bytes < 1024)
        return Counted(bytes, "byte", "bytes");
    double size = static_cast<double>(bytes) / 1024;
    const auto* unit = std::begin(units);
    // What would be rounded to 1,024 is 1 of the next unit.
    while (size >= 1023.5 && unit + 1 != std::end(units))
    {
        size /= 1024;
        ++unit;
    }
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), size < 9.95 ? "%.1f %s" : "%.0f %s", size, *unit);
    return text.data();
}

std::string GoingText(const PlannedContents& contents)
{
    std::string text;
    const auto add = [&](std::uint64_t number, const std::string& words) {
        if (number != 0)
            text += (text.empty() ? "" : ", ") + words;
    };
    add(contents.folders, Counted(contents.folders, "folder", "folders"));
    add(contents.files, Counted(contents.files, "file", "files"));
    add(contents.bytes, SizeText(contents.bytes));
    add(contents.keys, Counted(contents.keys, "key", "keys"));
    add(contents.values, Counted(contents.values, "value", "values"));
    if (contents.complete)
        return text;
    return text.empty() ? "not counted" : text + " and more";
}

const char* StateMeaning(ItemState state)
{
    switch (state)
    {
    case ItemState::Present:
        return "is there and would be dealt with: deleted, stopped, disabled, started or ended";
    case ItemState::PartlyInUse:
        return "the same, but something in it stays, with all that lies around that";
    case ItemState::Absent:
        return "is not there";
    case ItemState::InUse:
        return "stays: another product still needs it";
    case ItemState::AtRestart:
        return "is there, and would go at the next restart";
    case ItemState::GoesWith:
        return "goes with an item before it, or was dealt with there";
    case ItemState::Pruned:
        return "is struck off the list for the sake of another item";
    case ItemState::Skipped:
        return "is passed over";
    case ItemState::Fails:
        break;
    }
    return "would be tried in vain, as a whole or where a part of it says so";
}

std::string StateClass(ItemState state)
{
    std::string word = StateWord(state);
    std::replace(word.begin(), word.end(), ' ', '-');
    return word;
}

} // namespace prodsweep
