// The bytes of an XML file as text, and where in it something stands.
#pragma once

#include <cstddef>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace prodsweep {

// Both count from 1. A column is a character, whatever it takes in the file; a tab counts one.
struct Position
{
    std::size_t line = 1;
    std::size_t column = 1;

    auto operator<=>(const Position&) const = default;
};

// What keeps a file from being XML, in a few words that follow a colon, and where.
class CXmlFault : public std::runtime_error
{
public:
    CXmlFault(Position where, const std::string& what) : std::runtime_error(what), position(where) {}

    Position Where() const noexcept { return position; }

private:
    Position position;
};

class CXmlText
{
public:
    // The encoding is that of the byte order mark, else of the XML declaration, else UTF-8. Throws CXmlFault for one
    // that is not known or does not fit the bytes.
    explicit CXmlText(std::string_view bytes);

    // Without a byte order mark. An XML declaration may name another encoding all the same. Text that was UTF-8
    // already is not looked at: the parser refuses what is wrong with it.
    const std::string& Utf8() const noexcept { return utf8; }

    // offset: into Utf8().
    Position At(std::size_t offset) const;

    // Whether a whole character of UTF-8 begins at the offset.
    bool IsUtf8At(std::size_t offset) const;

private:
    std::size_t CharactersBefore(std::size_t offset) const;

    std::string utf8;
    std::vector<std::size_t> lineStarts{0};
    std::vector<std::size_t> chunks; // characters before each chunk: a line may be as long as the file
};

} // namespace prodsweep
