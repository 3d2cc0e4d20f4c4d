#include "pending_list.h"

#include <cstring>

namespace prodsweep {

namespace {

std::wstring Units(const ByteVector& data)
{
    std::wstring units(data.size() / sizeof(wchar_t), L'\0');
    if (!units.empty())
        std::memcpy(units.data(), data.data(), units.size() * sizeof(wchar_t));
    return units;
}

// The texts of the value, one after the other, each up to its zero.
class CTexts
{
public:
    explicit CTexts(std::wstring text) : units(std::move(text)) {}

    std::size_t Position() const { return position; }
    bool AtEnd() const { return position == units.size(); }

    // Steps over empty texts; tells how many.
    std::size_t SkipEmpty()
    {
        const std::size_t begin = position;
        while (!AtEnd() && units[position] == L'\0')
            ++position;
        return position - begin;
    }

    // False when there is no zero behind it.
    bool Take(std::wstring& text)
    {
        const std::size_t end = units.find(L'\0', position);
        const bool ended = end != std::wstring::npos;
        text = units.substr(position, ended ? end - position : end);
        position = ended ? end + 1 : units.size();
        return ended;
    }

private:
    std::wstring units;
    std::size_t position = 0;
};

// Stands at a source. False when the list breaks off within the entry.
bool TakeEntry(CTexts& texts, PendingEntry& entry)
{
    const bool complete = texts.Take(entry.source) && !texts.AtEnd() && texts.Take(entry.target);
    const bool deletes = entry.target.empty();
    if (entry.target.starts_with(L'!'))
    {
        entry.replaces = true;
        entry.target.erase(0, 1);
    }
    if (complete && deletes)
        entry.action = PendingAction::Delete;
    else if (complete && !entry.target.empty())
        entry.action = PendingAction::Rename;
    else
        entry.action = PendingAction::Unclear;
    return complete;
}

} // namespace

PendingList ReadPendingList(const ByteVector& data)
{
    PendingList list;
    CTexts texts(Units(data));
    bool ended = texts.AtEnd(); // a value without any data is an empty list
    while (!texts.AtEnd())
    {
        // A list ends where a source should stand and does not.
        if (texts.SkipEmpty() != 0)
        {
            ended = texts.AtEnd();
            if (!ended)
                list.faults.emplace_back("it goes on behind its end mark, and the system may stop there");
            continue;
        }
        PendingEntry& entry = list.entries.emplace_back();
        entry.begin = texts.Position() * sizeof(wchar_t);
        list.isWhole = TakeEntry(texts, entry);
        entry.end = texts.Position() * sizeof(wchar_t);
    }
    if (!list.isWhole)
        list.faults.emplace_back("it breaks off within its last entry");
    else if (!ended)
        list.faults.emplace_back("its end mark is missing, and the system may pass over its last entry");
    if (data.size() % sizeof(wchar_t) != 0)
        list.faults.emplace_back("it ends in half a character");
    return list;
}

ByteVector WithoutEntries(const ByteVector& data, const std::vector<PendingEntry>& entries)
{
    ByteVector rest;
    std::size_t kept = 0;
    for (const PendingEntry& entry : entries)
    {
        rest.insert(rest.end(), data.begin() + static_cast<std::ptrdiff_t>(kept),
                    data.begin() + static_cast<std::ptrdiff_t>(entry.begin));
        kept = entry.end;
    }
    // What follows the last of them, without half a character, behind which no end mark could stand.
    rest.insert(rest.end(), data.begin() + static_cast<std::ptrdiff_t>(kept),
                data.end() - static_cast<std::ptrdiff_t>(data.size() % sizeof(wchar_t)));
    const PendingList left = ReadPendingList(rest);
    if (left.entries.empty())
        return {};
    // An entry that breaks off stays as it is: with a mark behind it, it could become a deletion.
    if (left.entries.back().end == rest.size() && left.isWhole)
        rest.insert(rest.end(), sizeof(wchar_t), BYTE{0});
    return rest;
}

} // namespace prodsweep
