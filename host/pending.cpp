#include "pending.h"

#include <algorithm>

#include "failure.h"
#include "pending_path.h"
#include "pending_store.h"
#include "text.h"

namespace prodsweep {

namespace {

// Others add to the lists now and then. Who meets them this often meets something that never ends.
constexpr int maximalAttempts = 20;

PendingOperation OperationOf(const PendingValue& value, const PendingEntry& entry)
{
    return {ToUtf8(value.name), entry.action, PathOfEntry(entry.source), PathOfEntry(entry.target), entry.replaces};
}

std::string WrongType(const PendingValue& value)
{
    return ToUtf8(value.name) + " is no list of texts (REG_MULTI_SZ, 7) but of type " + std::to_string(value.type);
}

bool Deletes(const PendingEntry& entry, const std::wstring& path)
{
    // What is unclear may be a deletion, and who asks is better warned. Not so with a target, even one that breaks off.
    if (!entry.target.empty())
        return false;
    const std::wstring deleted = WithLongNames(PathOfEntry(entry.source));
    return IsSamePath(deleted, path) || IsBelow(deleted, path);
}

// One value with those of its entries that would delete the path.
struct Match
{
    PendingValue value;
    std::vector<PendingEntry> entries;
};

std::vector<Match> Matches(const std::wstring& path, const CPendingStore& store)
{
    const std::wstring meant = WithLongNames(path);
    std::vector<Match> matches;
    for (PendingValue& value : store.Read())
    {
        if (value.type != REG_MULTI_SZ)
            throw CFailure(ERROR_DATATYPE_MISMATCH, WrongType(value) + "; nobody can tell what it holds.");
        std::vector<PendingEntry> entries = ReadPendingList(value.data).entries;
        std::erase_if(entries, [&](const PendingEntry& entry) { return !Deletes(entry, meant); });
        if (!entries.empty())
            matches.push_back({std::move(value), std::move(entries)});
    }
    return matches;
}

// Both meant for one answer: what stands twice is told once.
void AddOnce(std::vector<PendingOperation>& operations, const Match& match)
{
    for (const PendingEntry& entry : match.entries)
    {
        PendingOperation operation = OperationOf(match.value, entry);
        if (std::none_of(operations.begin(), operations.end(), [&](const PendingOperation& other) {
                return other.list == operation.list && IsSamePath(other.path, operation.path);
            }))
            operations.push_back(std::move(operation));
    }
}

// The path itself before the folders above it, the nearest first.
void SortByNearness(std::vector<PendingOperation>& operations)
{
    std::stable_sort(operations.begin(), operations.end(),
                     [](const auto& left, const auto& right) { return left.path.size() > right.path.size(); });
}

} // namespace

PendingOperations ReadPending(const CPendingStore& store)
{
    PendingOperations pending;
    for (const PendingValue& value : store.Read())
    {
        if (value.type != REG_MULTI_SZ)
        {
            pending.faults.push_back(WrongType(value) + "; it is not looked at.");
            continue;
        }
        const PendingList list = ReadPendingList(value.data);
        for (const PendingEntry& entry : list.entries)
            pending.operations.push_back(OperationOf(value, entry));
        for (const std::string& fault : list.faults)
            pending.faults.push_back(ToUtf8(value.name) + " is damaged: " + fault + ".");
    }
    return pending;
}

std::vector<PendingOperation> DeletionsOf(const std::wstring& path, const CPendingStore& store)
{
    std::vector<PendingOperation> deletions;
    for (const Match& match : Matches(path, store))
        AddOnce(deletions, match);
    SortByNearness(deletions);
    return deletions;
}

std::vector<PendingOperation> CancelDeletionsOf(const std::wstring& path, const CPendingStore& store)
{
    std::vector<PendingOperation> cancelled;
    // The last look finds nothing any more: also a program that wrote an older copy of the list back is noticed so.
    for (int attempt = 0; attempt < maximalAttempts; ++attempt)
    {
        const std::vector<Match> matches = Matches(path, store);
        if (matches.empty())
        {
            SortByNearness(cancelled);
            return cancelled;
        }
        for (const Match& match : matches)
        {
            if (store.Replace(match.value, WithoutEntries(match.value.data, match.entries)))
                AddOnce(cancelled, match);
        }
    }
    throw CFailure(ERROR_BUSY,
                   "another program keeps changing the list; \"" + ToUtf8(path) + "\" may still be queued, try again.");
}

} // namespace prodsweep
