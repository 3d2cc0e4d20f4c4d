#include "check/checks.h"

#include <algorithm>
#include <iterator>
#include <tuple>

#include "check/findings.h"
#include "interpreter/check_list.h"
#include "interpreter/entry_composer.h"
#include "interpreter/product_uninstall.h"

namespace prodsweep {

namespace {

const CheckList nothingStays;

// The removal's own lists, in its own order. Entries are recorded and nothing of them is carried out.
class CRecordedRemoval final : public CProductUninstall
{
public:
    CRecordedRemoval() : CProductUninstall(L"", {}, nothingStays, nullptr) {}

    // What stays of the lists.
    using CProductUninstall::cachedFolders;
    using CProductUninstall::cachedRegItems;
};

struct RecordedFolder
{
    const EntryModel* entry;
    std::wstring path;
};

struct RecordedItem
{
    const EntryModel* entry;
    CachedRegItem item;
};

// The order of the list.
bool ItemLess(const CachedRegItem& left, const CachedRegItem& right)
{
    const auto order = [](const CachedRegItem& item) { return std::tie(item.x32view, item.key, item.isValue); };
    return order(left) < order(right);
}

std::string Reason(const std::wstring& dropped, const std::wstring& kept)
{
    return Quoted(dropped) + " begins with the text of " + Quoted(kept) + ", and does not lie in it.";
}

// The entry's folder or key begins with the text of what stays, and is not below it.
bool IsSibling(const std::wstring& text, const std::wstring& kept)
{
    if (kept.empty() || text.size() <= kept.size() || !text.starts_with(kept))
        return false;
    const auto isSeparator = [](wchar_t character) { return character == L'\\' || character == L'/'; };
    return !isSeparator(kept.back()) && !isSeparator(text[kept.size()]);
}

// What was dropped begins with the text of the last one before it that stays.
void ReportFolders(const CRecordedRemoval& removal, const std::vector<RecordedFolder>& folders,
                   const CFileReport& report)
{
    const auto& kept = removal.cachedFolders;
    for (const RecordedFolder& folder : folders)
    {
        const auto next = std::upper_bound(kept.begin(), kept.end(), folder.path);
        if (next != kept.begin() && IsSibling(folder.path, *std::prev(next)))
            report.Add("pruned-folder", folder.entry->node->at, Reason(folder.path, *std::prev(next)));
    }
}

void ReportItems(const CRecordedRemoval& removal, const std::vector<RecordedItem>& items, const CFileReport& report)
{
    const auto& kept = removal.cachedRegItems;
    for (const auto& [entry, item] : items)
    {
        const auto next = std::upper_bound(kept.begin(), kept.end(), item, &ItemLess);
        if (next == kept.begin())
            continue;
        const CachedRegItem& before = *std::prev(next);
        if (!before.isValue && IsSibling(item.key, before.key))
            report.Add("pruned-key", entry->node->at, Reason(item.key, before.key));
    }
}

} // namespace

void CheckPruning(const DescriptorModel& model, const CFileReport& report)
{
    CRecordedRemoval removal;
    std::vector<RecordedFolder> folders;
    std::vector<RecordedItem> items;
    for (const auto& [all, version, section, entry] : ListedEntriesOf(model))
    {
        if (section.Is(L"del_folder") && removal.ProcessDelFolder(entry.attributes, version.appPath))
            folders.push_back({&entry, removal.cachedFolders.back()});
        const bool isKey = section.Is(L"del_regkey") && !entry.Find(L"data_str") &&
                           removal.ProcessDelRegKey(entry.attributes, version.appPath);
        const bool isValue = section.Is(L"del_regvalue") && removal.ProcessDelRegVal(entry.attributes, version.appPath);
        if (isKey || isValue)
            items.push_back({&entry, removal.cachedRegItems.back()});
    }
    removal.PrepareCachedOperations();
    ReportFolders(removal, folders, report);
    ReportItems(removal, items, report);
}

} // namespace prodsweep
