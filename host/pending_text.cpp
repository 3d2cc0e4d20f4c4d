#include "pending_report.h"

#include <algorithm>

#include "pending_path.h"
#include "table.h"
#include "text.h"

namespace prodsweep {

namespace {

std::string Quoted(const std::wstring& path) { return '"' + Printable(ToUtf8(path)) + '"'; }

std::string PathCell(const PendingOperation& operation)
{
    std::string cell = ToUtf8(operation.path);
    if (!operation.target.empty())
        cell += " -> " + ToUtf8(operation.target);
    return operation.replaces ? cell + " (replacing it)" : cell;
}

std::string ProductCell(const std::vector<Product>& products)
{
    std::string cell;
    for (const Product& product : products)
        cell += (cell.empty() ? "" : ", ") + product.name;
    return cell.empty() ? "-" : cell;
}

std::string ClosingSentence(const std::vector<PendingLine>& lines)
{
    if (lines.empty())
        return "Nothing waits for the next restart.\n";
    const auto owned =
        std::count_if(lines.begin(), lines.end(), [](const auto& line) { return !line.products.empty(); });
    return "\n" + std::to_string(lines.size()) + (lines.size() == 1 ? " operation waits" : " operations wait") +
           " for the next restart, " + std::to_string(owned) + " of the catalogues' products.\n";
}

} // namespace

const char* ActionWord(PendingAction action)
{
    switch (action)
    {
    case PendingAction::Delete:
        return "delete";
    case PendingAction::Rename:
        return "rename";
    case PendingAction::Unclear:
        break;
    }
    return "unclear";
}

std::string PendingAsText(const PendingReport& report)
{
    CTable table({"", "Action", "Path", "Product"});
    for (std::size_t i = 0; i < report.lines.size(); ++i)
        table.Add({std::to_string(i + 1), ActionWord(report.lines[i].operation.action),
                   PathCell(report.lines[i].operation), ProductCell(report.lines[i].products)});
    std::string text = (report.lines.empty() ? "" : table.Text()) + ClosingSentence(report.lines);
    for (const std::string& fault : report.faults)
        text += "Note: " + fault + "\n";
    return text;
}

std::string CheckAsText(const std::wstring& path, const std::vector<PendingOperation>& operations)
{
    const std::string file = Quoted(path);
    if (operations.empty())
        return file + " is not queued to be deleted, moved or replaced.\n";
    // What loses the file stands first.
    const PendingOperation& first = operations.front();
    const std::string queued = Quoted(first.path);
    if (!first.loses)
        return file + " is not queued itself. The folder above it is: " + queued +
               " is deleted at the next restart only if it is empty by then, so a file that is written to " + file +
               " stays.\n";
    if (IsBelow(WithLongNames(first.path), WithLongNames(path)))
        return file + " is moved at the next restart with the folder above it, " + queued + ", to " +
               Quoted(first.target) + ".\n";
    if (!IsSamePath(WithLongNames(first.path), WithLongNames(path)))
        return file + " is queued to be replaced by " + queued + " at the next restart.\n";
    if (first.target.empty())
        return file + " is queued for deletion at the next restart.\n";
    return file + " is queued to be moved to " + Quoted(first.target) + " at the next restart.\n";
}

std::string CancelAsText(const std::wstring& path, const std::vector<PendingOperation>& cancelled)
{
    if (cancelled.empty())
        return Quoted(path) + " was not queued to be deleted, moved or replaced; nothing was changed.\n";
    std::string sentence = "No longer queued: ";
    for (std::size_t i = 0; i < cancelled.size(); ++i)
        sentence += (i == 0 ? "" : ", ") + Quoted(cancelled[i].path) +
                    (cancelled[i].target.empty() ? "" : " to " + Quoted(cancelled[i].target));
    return sentence + ".\n";
}

} // namespace prodsweep
