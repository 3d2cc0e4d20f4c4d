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
    return {ToUtf8(value.name),        entry.action,   PathOfEntry(entry.source),
            PathOfEntry(entry.target), entry.replaces, false};
}

std::string WrongType(const PendingValue& value)
{
    return ToUtf8(value.name) + " is no list of texts (REG_MULTI_SZ, 7) but of type " + std::to_string(value.type);
}

enum class Effect
{
    None,
    Spares, // the deletion of a folder above it, which the file keeps from being empty
    Loses
};

// On a file that is written at the path.
Effect EffectOf(const PendingEntry& entry, const std::wstring& path)
{
    const std::wstring source = WithLongNames(PathOfEntry(entry.source));
    // What is unclear may be a deletion, or lead anywhere, and who asks is better warned.
    if (IsSamePath(source, path))
        return Effect::Loses;
    if (IsBelow(source, path))
        return entry.target.empty() ? Effect::Spares : Effect::Loses;
    // Without the mark, a renaming to what is there fails.
    const bool replaces = entry.action == PendingAction::Rename && entry.replaces &&
                          IsSamePath(WithLongNames(PathOfEntry(entry.target)), path);
    return replaces ? Effect::Loses : Effect::None;
}

// One value with those of its entries that concern the path.
struct Match
{
    PendingValue value;
    std::vector<PendingEntry> entries;
};

std::vector<Match> Matches(const std::wstring& meant, const CPendingStore& store)
{
    std::vector<Match> matches;
    for (PendingValue& value : store.Read())
    {
        if (value.type != REG_MULTI_SZ)
            throw CFailure(ERROR_DATATYPE_MISMATCH, WrongType(value) + "; nobody can tell what it holds.");
        std::vector<PendingEntry> entries = ReadPendingList(value.data).entries;
        std::erase_if(entries, [&](const PendingEntry& entry) { return EffectOf(entry, meant) == Effect::None; });
        if (!entries.empty())
            matches.push_back({std::move(value), std::move(entries)});
    }
    return matches;
}

// All meant for one answer: what stands twice is told once.
void AddOnce(std::vector<PendingOperation>& operations, const Match& match, const std::wstring& meant)
{
    for (const PendingEntry& entry : match.entries)
    {
        PendingOperation operation = OperationOf(match.value, entry);
        operation.loses = EffectOf(entry, meant) == Effect::Loses;
        if (std::none_of(operations.begin(), operations.end(), [&](const PendingOperation& other) {
                return other.list == operation.list && IsSamePath(other.path, operation.path) &&
                       IsSamePath(other.target, operation.target);
            }))
            operations.push_back(std::move(operation));
    }
}

// What loses the file before what spares it, and of the folders above it the nearest first.
void SortByEffect(std::vector<PendingOperation>& operations)
{
    std::stable_sort(operations.begin(), operations.end(), [](const auto& left, const auto& right) {
        return left.loses != right.loses ? left.loses : left.path.size() > right.path.size();
    });
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

std::vector<PendingOperation> OperationsOn(const std::wstring& path, const CPendingStore& store)
{
    const std::wstring meant = WithLongNames(path);
    std::vector<PendingOperation> operations;
    for (const Match& match : Matches(meant, store))
        AddOnce(operations, match, meant);
    SortByEffect(operations);
    return operations;
}

std::vector<PendingOperation> CancelOperationsOn(const std::wstring& path, const CPendingStore& store)
{
    const std::wstring meant = WithLongNames(path);
    std::vector<PendingOperation> cancelled;
    // The last look finds nothing any more: also a program that wrote an older copy of the list back is noticed so.
    for (int attempt = 0; attempt < maximalAttempts; ++attempt)
    {
        const std::vector<Match> matches = Matches(meant, store);
        if (matches.empty())
        {
            SortByEffect(cancelled);
            return cancelled;
        }
        for (const Match& match : matches)
        {
            if (store.Replace(match.value, WithoutEntries(match.value.data, match.entries)))
                AddOnce(cancelled, match, meant);
        }
    }
    throw CFailure(ERROR_BUSY,
                   "another program keeps changing the list; \"" + ToUtf8(path) + "\" may still be queued, try again.");
}

} // namespace prodsweep
