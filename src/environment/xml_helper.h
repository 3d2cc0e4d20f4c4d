#pragma once

#include "common/com_releaser.h"

#include <windows.h>

#include <msxml.h>
#include <oleauto.h>

#include <exception>
#include <memory>
#include <string>

namespace prodsweep {

// A COM call could not even be made. Caught, like everything, at the exports.
class CComError : public std::exception
{
public:
    explicit CComError(HRESULT failure) noexcept : result(failure) {}
    [[nodiscard]] HRESULT Result() const noexcept { return result; }
    [[nodiscard]] const char* what() const noexcept override { return "COM call failed"; }

private:
    HRESULT result;
};

struct BstrFreer
{
    void operator()(OLECHAR* text) const noexcept { SysFreeString(text); }
};

using UniqueXmlDocument = std::unique_ptr<IXMLDOMDocument, ComReleaser>;
using UniqueXmlNode = std::unique_ptr<IXMLDOMNode, ComReleaser>;
using UniqueXmlNodeList = std::unique_ptr<IXMLDOMNodeList, ComReleaser>;
using UniqueXmlAttributes = std::unique_ptr<IXMLDOMNamedNodeMap, ComReleaser>;
using UniqueBstr = std::unique_ptr<OLECHAR, BstrFreer>;

// The few steps that are taken in MSXML's DOM. Those that return an HRESULT log nothing: the caller
// has words of its own for each failure. An owner that is null afterwards counts as a failure too,
// also where the HRESULT is not negative: MSXML answers S_FALSE for what is absent.
class CXMLHelper
{
public:
    // The text of a node's attribute. On failure, an absent attribute included, value keeps what it
    // held, so a caller may preload a default; the failure is logged here. Throws CComError when
    // memory is short.
    [[nodiscard]] static bool GetNodeAttribute(IXMLDOMNode* node, const wchar_t* name, std::wstring& value);

    // Clears name and reads the node's name into it: "#comment" and "#text" for those node types.
    [[nodiscard]] static bool GetNodeName(IXMLDOMNode* node, std::wstring& name);
    static HRESULT GetNodeName(IXMLDOMNode* node, std::wstring& name, bool& read);

    // Moves a BSTR into text and frees it. False for a null BSTR, which leaves text alone.
    [[nodiscard]] static bool TakeBstr(std::wstring& text, BSTR& bstr);

    // Step by step, what opening a document takes. COM must be initialised on this thread.
    static HRESULT CreateDocument(UniqueXmlDocument& document);
    // Reads and parses. loaded tells whether the document is there; no property is set before.
    static HRESULT LoadDocument(IXMLDOMDocument* document, const std::wstring& path, bool& loaded);
    static HRESULT DocumentNode(IXMLDOMDocument* document, UniqueXmlNode& node);

    // The first child element of that name. Throws CComError when memory is short.
    static HRESULT SelectNode(IXMLDOMNode* parent, const wchar_t* name, UniqueXmlNode& node);
    // All child nodes in document order, comments and texts included.
    static HRESULT ChildNodes(IXMLDOMNode* parent, UniqueXmlNodeList& children);
    static HRESULT ChildAt(IXMLDOMNodeList* children, long index, UniqueXmlNode& child);
    // The list's own walk, for long lists: ChildAt counts from the front at each call. S_FALSE and null
    // past the end, as ChildAt has it.
    static HRESULT NextChild(IXMLDOMNodeList* children, UniqueXmlNode& child);
    // The concatenated text content. read is false when the call failed or gave a null text.
    static HRESULT GetText(IXMLDOMNode* node, std::wstring& text, bool& read);

    static HRESULT Attributes(IXMLDOMNode* node, UniqueXmlAttributes& attributes);
    static HRESULT AttributeAt(IXMLDOMNamedNodeMap* attributes, long index, UniqueXmlNode& attribute);
};

} // namespace prodsweep
