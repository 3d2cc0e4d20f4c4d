// A table for people: a heading, a rule, rows aligned to the widest cell of each column.
#pragma once

#include <string>
#include <vector>

namespace prodsweep {

class CTable
{
public:
    using Row = std::vector<std::string>;

    explicit CTable(Row columnHeadings) : headings(std::move(columnHeadings)) {}

    // Cells are UTF-8; their control characters are made visible. Cells may be fewer than headings.
    void Add(const Row& cells);

    // Lines end in "\n", without blanks before it.
    std::string Text() const;

private:
    Row headings;
    std::vector<Row> rows;
};

} // namespace prodsweep
