#include "check/xml_text.h"

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <iterator>

#include <windows.h>

namespace prodsweep {

namespace {

constexpr UINT asciiPage = 20127;
constexpr std::string_view utf8Mark = "\xEF\xBB\xBF";
constexpr std::string_view littleMark = "\xFF\xFE";
constexpr std::string_view bigMark = "\xFE\xFF";
constexpr std::string_view littleDeclaration("<\0?\0", 4);
constexpr std::string_view bigDeclaration("\0<\0?", 4);

std::string Lowered(std::string_view text)
{
    std::string lowered(text);
    std::transform(lowered.begin(), lowered.end(), lowered.begin(), [](char character) {
        return character >= 'A' && character <= 'Z' ? static_cast<char>(character - 'A' + 'a') : character;
    });
    return lowered;
}

// What the XML declaration says, in lower case; empty if it says nothing. The parser sees to its being well-formed.
std::string DeclaredEncoding(std::string_view bytes)
{
    if (!bytes.starts_with("<?xml"))
        return {};
    const std::string_view declaration = bytes.substr(0, bytes.find("?>"));
    const std::size_t name = declaration.find("encoding");
    const std::size_t opening = declaration.find_first_of("\"'", name);
    if (name == std::string_view::npos || opening == std::string_view::npos)
        return {};
    const std::string_view value = declaration.substr(opening + 1);
    return Lowered(value.substr(0, value.find(declaration[opening])));
}

// What stands behind the prefix; 0 when that is no number.
UINT NumberBehind(const std::string& encoding, std::string_view prefix)
{
    constexpr std::size_t mostDigits = 4;
    const std::string_view digits = std::string_view(encoding).substr(prefix.size());
    const auto isDigit = [](char character) { return character >= '0' && character <= '9'; };
    return digits.size() <= mostDigits && std::all_of(digits.begin(), digits.end(), isDigit)
               ? static_cast<UINT>(std::atoi(encoding.c_str() + prefix.size()))
               : 0;
}

// 0 for an encoding that is not known. Systems differ in what they know beside these.
UINT CodePageOf(const std::string& encoding)
{
    constexpr std::string_view iso = "iso-8859-";
    constexpr std::string_view windows = "windows-";
    constexpr UINT firstIso = 28591;
    constexpr UINT firstWindows = 1250;
    constexpr UINT lastWindows = 1258;
    constexpr UINT gbk = 936;
    if (encoding.empty() || encoding == "utf-8")
        return CP_UTF8;
    if (encoding == "us-ascii" || encoding == "ascii")
        return asciiPage;
    if (encoding == "gbk")
        return gbk;
    if (encoding.starts_with(iso))
    {
        const UINT part = NumberBehind(encoding, iso);
        return part == 0 ? 0 : firstIso - 1 + part;
    }
    const UINT page = encoding.starts_with(windows) ? NumberBehind(encoding, windows) : 0;
    return page >= firstWindows && page <= lastWindows ? page : 0;
}

std::string FromWide(std::wstring_view text)
{
    if (text.empty())
        return {};
    const int length = static_cast<int>(text.size());
    const int size =
        WideCharToMultiByte(CP_UTF8, WC_ERR_INVALID_CHARS, text.data(), length, nullptr, 0, nullptr, nullptr);
    if (size == 0)
        throw CXmlFault({}, "half of a surrogate pair stands alone in it");
    std::string utf8(static_cast<std::size_t>(size), '\0');
    WideCharToMultiByte(CP_UTF8, 0, text.data(), length, utf8.data(), size, nullptr, nullptr);
    return utf8;
}

std::string FromUtf16(std::string_view bytes, bool littleEndian)
{
    std::wstring text;
    text.reserve(bytes.size() / 2);
    // Half a character at the end does not count.
    for (std::size_t i = 0; i + 1 < bytes.size(); i += 2)
    {
        const auto first = static_cast<unsigned char>(bytes[i]);
        const auto second = static_cast<unsigned char>(bytes[i + 1]);
        text += static_cast<wchar_t>(littleEndian ? first | second << 8 : first << 8 | second);
    }
    std::string utf8 = FromWide(text);
    if (const std::string declared = DeclaredEncoding(utf8); !declared.empty() && !declared.starts_with("utf-"))
        throw CXmlFault({}, "it is UTF-16 and says that it is " + declared);
    return utf8;
}

bool IsAscii(char byte) { return (static_cast<unsigned char>(byte) & 0x80U) == 0; }

std::string FromCodePage(std::string_view bytes, const std::string& encoding)
{
    const UINT codePage = CodePageOf(encoding);
    if (codePage == CP_UTF8 || bytes.empty())
        return std::string(bytes);
    // All that is UTF-16 was told by its first bytes.
    if (encoding.starts_with("utf-16"))
        throw CXmlFault({}, "it says that it is " + encoding + ", and is not");
    if (!IsValidCodePage(codePage))
        throw CXmlFault({}, "its encoding \"" + encoding + "\" is not one that every system reads");
    // Windows takes the upper bit off instead of complaining.
    if (codePage == asciiPage && !std::all_of(bytes.begin(), bytes.end(), IsAscii))
        throw CXmlFault({}, "it says that it is " + encoding + ", and holds bytes that are none");
    const int length = static_cast<int>(bytes.size());
    const int size = MultiByteToWideChar(codePage, MB_ERR_INVALID_CHARS, bytes.data(), length, nullptr, 0);
    if (size == 0)
        throw CXmlFault({}, "it says that it is " + encoding + ", and holds bytes that are none");
    std::wstring text(static_cast<std::size_t>(size), L'\0');
    MultiByteToWideChar(codePage, 0, bytes.data(), length, text.data(), size);
    return FromWide(text);
}

std::string Decoded(std::string_view bytes)
{
    // The mark of UTF-8 does not count against what is declared.
    if (bytes.starts_with(utf8Mark))
        bytes.remove_prefix(utf8Mark.size());
    if (bytes.starts_with(littleMark) || bytes.starts_with(bigMark))
        return FromUtf16(bytes.substr(2), bytes.starts_with(littleMark));
    // Without a mark it takes a declaration to be taken for UTF-16.
    if (bytes.starts_with(littleDeclaration) || bytes.starts_with(bigDeclaration))
        return FromUtf16(bytes, bytes.front() == '<');
    return FromCodePage(bytes, DeclaredEncoding(bytes));
}

bool BeginsCharacter(char byte) { return (static_cast<unsigned char>(byte) & 0xC0U) != 0x80U; }

// By its first byte; 0 for one that begins none.
std::size_t LengthOfCharacter(char byte)
{
    const auto first = static_cast<unsigned char>(byte);
    if (first < 0x80)
        return 1;
    if (first < 0xC2 || first > 0xF4)
        return 0;
    return first < 0xE0 ? 2 : first < 0xF0 ? 3 : 4;
}

constexpr std::size_t chunkSize = 1024;

} // namespace

CXmlText::CXmlText(std::string_view bytes) : utf8(Decoded(bytes))
{
    std::size_t characters = 0;
    for (std::size_t i = 0; i < utf8.size(); ++i)
    {
        if (i % chunkSize == 0)
            chunks.push_back(characters);
        characters += BeginsCharacter(utf8[i]) ? 1U : 0U;
        if (utf8[i] == '\n' || (utf8[i] == '\r' && utf8.compare(i, 2, "\r\n") != 0))
            lineStarts.push_back(i + 1);
    }
    chunks.push_back(characters);
    // The parser would guess at another encoding.
    if (const std::size_t zero = utf8.find('\0'); zero != std::string::npos)
        throw CXmlFault(At(zero), "a character 0 stands in it");
}

std::size_t CXmlText::CharactersBefore(std::size_t offset) const
{
    const std::size_t chunk = offset / chunkSize;
    const std::string_view rest = std::string_view(utf8).substr(0, offset).substr(chunk * chunkSize);
    return chunks[chunk] + static_cast<std::size_t>(std::count_if(rest.begin(), rest.end(), BeginsCharacter));
}

Position CXmlText::At(std::size_t offset) const
{
    offset = std::min(offset, utf8.size());
    const auto next = std::upper_bound(lineStarts.begin(), lineStarts.end(), offset);
    return {static_cast<std::size_t>(next - lineStarts.begin()),
            CharactersBefore(offset) - CharactersBefore(*std::prev(next)) + 1};
}

bool CXmlText::IsUtf8At(std::size_t offset) const
{
    if (offset >= utf8.size())
        return false;
    const std::size_t length = LengthOfCharacter(utf8[offset]);
    return length != 0 && length <= utf8.size() - offset &&
           MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, utf8.data() + offset, static_cast<int>(length), nullptr,
                               0) != 0;
}

} // namespace prodsweep
