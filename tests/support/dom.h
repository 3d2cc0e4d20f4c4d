#pragma once

#include "environment/xml_helper.h"

#include <windows.h>

#include <string>

namespace prodsweep::test {

// COM on this thread for as long as it lives, as the exports have it.
class ComScope
{
public:
    ComScope() : result(CoInitialize(nullptr)) {}
    ~ComScope()
    {
        if (SUCCEEDED(result))
            CoUninitialize();
    }
    ComScope(const ComScope&) = delete;
    ComScope& operator=(const ComScope&) = delete;

private:
    HRESULT result;
};

// A text parsed by MSXML. COM must be initialised. A text that is not well-formed fails the test.
class DomText
{
public:
    explicit DomText(const std::wstring& xml);

    [[nodiscard]] IXMLDOMDocument* Document() const { return document.get(); }
    // The document's element.
    [[nodiscard]] IXMLDOMNode* Root() const { return root.get(); }
    // A child node of the root, comments and texts counted.
    [[nodiscard]] UniqueXmlNode Child(long index) const;

private:
    UniqueXmlDocument document;
    UniqueXmlNode root;
};

} // namespace prodsweep::test
