#include "check/xml_document.h"

#include <algorithm>
#include <climits>
#include <exception>
#include <functional>
#include <memory>
#include <new>
#include <ranges>
#include <type_traits>
#include <utility>

#include <expat.h>

#include "check/xml_prefixes.h"
#include "text.h"

namespace prodsweep {

namespace {

// The system's parser stops there too.
constexpr std::size_t deepest = 257;

constexpr std::string_view whiteSpace = " \t\r\n";

struct ParserFree
{
    void operator()(XML_Parser parser) const noexcept { XML_ParserFree(parser); }
};
using UniqueParser = std::unique_ptr<std::remove_pointer_t<XML_Parser>, ParserFree>;

std::wstring Trimmed(const std::wstring& text)
{
    const std::size_t first = text.find_first_not_of(L" \t\r\n");
    return first == std::wstring::npos ? std::wstring()
                                       : text.substr(first, text.find_last_not_of(L" \t\r\n") + 1 - first);
}

bool KeepsBlanks(const std::vector<XmlNode*>& open)
{
    for (const XmlNode* node : std::ranges::reverse_view(open))
    {
        if (const XmlAttribute* space = node->Find(L"xml:space"))
            return space->value == L"preserve";
    }
    return false;
}

// The offsets of a start tag's attribute names. The tag is known to be well-formed.
std::vector<std::size_t> AttributeOffsets(std::string_view tag)
{
    std::vector<std::size_t> offsets;
    std::size_t next = tag.find_first_of(" \t\r\n/>");
    while ((next = tag.find_first_not_of(whiteSpace, next)) != std::string_view::npos && tag[next] != '/' &&
           tag[next] != '>')
    {
        offsets.push_back(next);
        const std::size_t opening = tag.find_first_of("\"'", next);
        const std::size_t closing = opening == std::string_view::npos ? opening : tag.find(tag[opening], opening + 1);
        if (closing == std::string_view::npos)
            break;
        next = closing + 1;
    }
    return offsets;
}

// Builds the tree while the parser reads.
class CTreeBuilder
{
public:
    explicit CTreeBuilder(const CXmlText& source) : text(source), parser(XML_ParserCreate("UTF-8"))
    {
        if (parser == nullptr)
            throw std::bad_alloc();
        XML_SetUserData(parser.get(), this);
        XML_SetElementHandler(parser.get(), &OnStart, &OnEnd);
        XML_SetCharacterDataHandler(parser.get(), &OnText);
        XML_SetCommentHandler(parser.get(), &OnComment);
        XML_SetProcessingInstructionHandler(parser.get(), &OnInstruction);
        XML_SetCdataSectionHandler(parser.get(), &OnCDataStart, &OnCDataEnd);
        XML_SetXmlDeclHandler(parser.get(), &OnDeclaration);
        XML_SetStartDoctypeDeclHandler(parser.get(), &OnDocumentType);
    }

    XmlDocument Build()
    {
        const std::string& utf8 = text.Utf8();
        if (utf8.size() > static_cast<std::size_t>(INT_MAX))
            throw CXmlFault({}, "it is too large");
        const XML_Status status = XML_Parse(parser.get(), utf8.data(), static_cast<int>(utf8.size()), XML_TRUE);
        if (thrown != nullptr)
            std::rethrow_exception(thrown);
        if (status != XML_STATUS_OK)
            throw CXmlFault(Here(), Fault());
        return std::move(document);
    }

private:
    // The parser is C and lets nothing pass: what is thrown within waits until it has stopped.
    void Guarded(const std::function<void()>& step) noexcept
    {
        try
        {
            if (thrown == nullptr)
                step();
        }
        catch (...)
        {
            thrown = std::current_exception();
            XML_StopParser(parser.get(), XML_FALSE);
        }
    }
    static CTreeBuilder& Self(void* data) { return *static_cast<CTreeBuilder*>(data); }

    static void OnStart(void* data, const char* name, const char** attributes)
    {
        Self(data).Guarded([&] { Self(data).Start(name, attributes); });
    }
    static void OnEnd(void* data, const char* /*name*/)
    {
        Self(data).Guarded([&] {
            Self(data).FlushText();
            Self(data).open.pop_back();
        });
    }
    static void OnText(void* data, const char* characters, int length)
    {
        Self(data).Guarded([&] { Self(data).AddText({characters, static_cast<std::size_t>(length)}); });
    }
    static void OnComment(void* data, const char* /*comment*/)
    {
        Self(data).Guarded([&] { Self(data).AddLeaf(XmlNode::Kind::Comment, L"#comment"); });
    }
    static void OnInstruction(void* data, const char* target, const char* /*instruction*/)
    {
        Self(data).Guarded([&] { Self(data).AddLeaf(XmlNode::Kind::Instruction, ToWide(target)); });
    }
    static void OnCDataStart(void* data)
    {
        Self(data).Guarded([&] {
            Self(data).FlushText();
            Self(data).inCData = true;
            Self(data).textAt = Self(data).Here();
        });
    }
    static void OnCDataEnd(void* data)
    {
        Self(data).Guarded([&] {
            Self(data).FlushText();
            Self(data).inCData = false;
        });
    }

    static void OnDeclaration(void* data, const char* version, const char* /*encoding*/, int /*standalone*/)
    {
        Self(data).Guarded([&] {
            // The declaration of an entity's text has none. Wine reads 1.1, too; Windows is not known to.
            if (version != nullptr && std::string_view(version) != "1.0")
                throw CXmlFault({},
                                "it says that it is XML " + std::string(version) + ", and only 1.0 is read everywhere");
        });
    }
    static void OnDocumentType(void* data, const char* /*name*/, const char* /*system*/, const char* /*publicId*/,
                               int /*hasInternalSubset*/)
    {
        Self(data).Guarded([&] { Self(data).NoteDocumentType(); });
    }

    Position Here() const
    {
        const XML_Index offset = XML_GetCurrentByteIndex(parser.get());
        return text.At(offset < 0 ? 0 : static_cast<std::size_t>(offset));
    }

    // Of a byte that is no UTF-8 the parser only says "invalid token"; mostly the file is in another encoding.
    std::string Fault() const
    {
        const XML_Error error = XML_GetErrorCode(parser.get());
        const auto offset = static_cast<std::size_t>(XML_GetCurrentByteIndex(parser.get()));
        const bool stopsAtCharacter = error == XML_ERROR_INVALID_TOKEN || error == XML_ERROR_PARTIAL_CHAR;
        return stopsAtCharacter && !text.IsUtf8At(offset)
                   ? "what stands here is no UTF-8; save the file in UTF-8, or declare the encoding that it is in"
                   : XML_ErrorString(error);
    }

    // The parser tells of it when it comes to what stands in it.
    void NoteDocumentType()
    {
        const auto offset = static_cast<std::size_t>(XML_GetCurrentByteIndex(parser.get()));
        document.documentType = text.At(text.Utf8().rfind("<!DOCTYPE", offset));
    }

    void Start(const char* name, const char** attributes)
    {
        FlushText();
        if (open.size() >= deepest)
            throw CXmlFault(Here(), "elements are nested more than 257 deep");
        XmlNode& node = open.empty() ? document.root : open.back()->children.emplace_back();
        node.name = ToWide(name);
        node.at = Here();
        AddAttributes(node, attributes);
        open.push_back(&node);
    }

    void AddAttributes(XmlNode& node, const char** attributes) const
    {
        const auto begin = static_cast<std::size_t>(XML_GetCurrentByteIndex(parser.get()));
        const auto length = static_cast<std::size_t>(XML_GetCurrentByteCount(parser.get()));
        const std::string_view tag = std::string_view(text.Utf8()).substr(begin, length);
        // Within the text of an entity there is no tag at this place.
        const auto offsets = tag.starts_with('<') ? AttributeOffsets(tag) : std::vector<std::size_t>{};
        for (std::size_t i = 0; attributes[2 * i] != nullptr; ++i)
        {
            // Those that the document type adds stand behind the tag's own, and nowhere in the text.
            const Position at = i < offsets.size() ? text.At(begin + offsets[i]) : node.at;
            node.attributes.push_back({ToWide(attributes[2 * i]), ToWide(attributes[2 * i + 1]), at});
        }
    }

    void AddText(std::string_view characters)
    {
        if (pendingText.empty() && !inCData)
            textAt = Here();
        pendingText += characters;
    }

    void FlushText()
    {
        std::wstring content = ToWide(pendingText);
        pendingText.clear();
        if (!inCData && !KeepsBlanks(open))
            content = Trimmed(content);
        if (!inCData && content.empty())
            return;
        XmlNode& node = open.back()->children.emplace_back();
        node.kind = inCData ? XmlNode::Kind::CData : XmlNode::Kind::Text;
        node.at = textAt;
        node.name = inCData ? L"#cdata-section" : L"#text";
        node.text = std::move(content);
    }

    void AddLeaf(XmlNode::Kind kind, std::wstring name)
    {
        // Beside the document's element nothing counts.
        if (open.empty())
            return;
        FlushText();
        XmlNode& node = open.back()->children.emplace_back();
        node.kind = kind;
        node.at = Here();
        node.name = std::move(name);
    }

    const CXmlText& text;
    UniqueParser parser;
    XmlDocument document;
    // A node's children are complete before its next sibling is added, so these stay where they are.
    std::vector<XmlNode*> open;
    std::string pendingText;
    Position textAt;
    bool inCData = false;
    std::exception_ptr thrown;
};

} // namespace

const XmlAttribute* XmlNode::Find(std::wstring_view attribute) const
{
    const auto found = std::find_if(attributes.begin(), attributes.end(),
                                    [=](const XmlAttribute& candidate) { return candidate.name == attribute; });
    return found != attributes.end() ? &*found : nullptr;
}

const XmlNode* XmlNode::Child(std::wstring_view element) const
{
    const auto found = std::find_if(children.begin(), children.end(), [=](const XmlNode& candidate) {
        return candidate.IsElement() && candidate.name == element;
    });
    return found != children.end() ? &*found : nullptr;
}

std::wstring XmlNode::TextContent() const
{
    std::wstring content = text;
    for (const XmlNode& child : children)
        content += child.TextContent();
    return content;
}

XmlDocument ParseXml(std::string_view bytes)
{
    const CXmlText text(bytes);
    XmlDocument document = CTreeBuilder(text).Build();
    document.undeclaredPrefixes = UndeclaredPrefixes(document.root);
    return document;
}

} // namespace prodsweep
