#include "table.h"

#include <algorithm>
#include <cstddef>

#include "text.h"

namespace prodsweep {

namespace {

constexpr std::size_t gap = 2;

void AppendLine(std::string& text, const CTable::Row& cells, const std::vector<std::size_t>& widths)
{
    std::size_t pending = 0;
    for (std::size_t column = 0; column < cells.size(); ++column)
    {
        const std::string& cell = cells[column];
        if (!cell.empty())
        {
            text.append(pending, ' ');
            text += cell;
            pending = 0;
        }
        pending += widths[column] - DisplayWidth(cell) + gap;
    }
    text += '\n';
}

} // namespace

void CTable::Add(const Row& cells)
{
    Row row(headings.size());
    std::transform(cells.begin(), cells.end(), row.begin(), [](const std::string& cell) { return Printable(cell); });
    rows.push_back(std::move(row));
}

std::string CTable::Text() const
{
    std::vector<std::size_t> widths;
    for (const std::string& heading : headings)
        widths.push_back(DisplayWidth(heading));
    for (const Row& row : rows)
        for (std::size_t column = 0; column < row.size(); ++column)
            widths[column] = std::max(widths[column], DisplayWidth(row[column]));

    Row rule;
    for (const std::size_t width : widths)
        rule.emplace_back(width, '-');

    std::string text;
    AppendLine(text, headings, widths);
    AppendLine(text, rule, widths);
    for (const Row& row : rows)
        AppendLine(text, row, widths);
    return text;
}

} // namespace prodsweep
