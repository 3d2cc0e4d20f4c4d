// The system's list of what is renamed or deleted at the next restart, as it stands in a registry value.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include <windows.h>

namespace prodsweep {

enum class PendingAction
{
    Delete,
    Rename,
    Unclear // the list breaks off within the entry, or it is renamed to nothing: it may well be deleted
};

struct PendingEntry
{
    PendingAction action = PendingAction::Delete;
    std::wstring source; // with the system's prefix, as it stands
    std::wstring target; // the same, without the mark in front; empty when nothing stands there
    bool replaces = false;
    // The bytes that it takes in the value.
    std::size_t begin = 0;
    std::size_t end = 0;
};

struct PendingList
{
    std::vector<PendingEntry> entries;
    bool isWhole = true;             // false: it breaks off within its last entry
    std::vector<std::string> faults; // a clause for each: what is wrong with the list
};

using ByteVector = std::vector<BYTE>;

// Reads whatever the bytes hold: what can't be an entry is told as a fault, and the rest is read.
PendingList ReadPendingList(const ByteVector& data);

// The value without these entries of it. All others keep their bytes and their order; behind a whole entry the list
// gets its end mark, should that be missing, since the system may pass over an entry that has none behind it. Empty
// when no entry is left.
ByteVector WithoutEntries(const ByteVector& data, const std::vector<PendingEntry>& entries);

} // namespace prodsweep
