// What waits for the next restart, as plain values, and what is asked about it.
#pragma once

#include <string>
#include <vector>

#include "pending_list.h"

namespace prodsweep {

class CPendingStore;

struct PendingOperation
{
    std::string list; // the registry value that it stands in
    PendingAction action = PendingAction::Delete;
    std::wstring path;
    std::wstring target; // empty when nothing stands there
    bool replaces = false;
    bool loses = false; // of those on a path: a file that is written there is gone after the restart
};

struct PendingOperations
{
    std::vector<PendingOperation> operations; // in the order in which the system carries them out
    std::vector<std::string> faults;          // a sentence for each: what is odd about the lists
};

// Throws CFailure.
PendingOperations ReadPending(const CPendingStore& store);

// What concerns a file that is written at path. First what loses it: its own deletion, its renaming or that of a folder
// above it, and another file's that replaces it. Then the deletions of folders above it, the nearest first: the system
// deletes a folder only when it is empty by then, so the file stays. path: full. Throws CFailure, also when a list is
// of a kind that can't be read, since then there is no honest answer.
std::vector<PendingOperation> OperationsOn(const std::wstring& path, const CPendingStore& store);

// Takes just these out and returns them; nothing else is touched. A list that others change meanwhile is read again.
// Throws CFailure.
std::vector<PendingOperation> CancelOperationsOn(const std::wstring& path, const CPendingStore& store);

} // namespace prodsweep
