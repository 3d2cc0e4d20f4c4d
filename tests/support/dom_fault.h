#pragma once

#include <windows.h>

namespace prodsweep::test {

// What the library asks of MSXML's objects.
enum class DomMethod
{
    DocumentQueryNode, // QueryInterface for IXMLDOMNode
    DocumentSelect,    // selectSingleNode
    ElementName,
    ElementChildren,
    ElementAttributes,
    ElementText,
    ElementSelect,
    CommentName,
    ListItem, // of a list of child nodes
    ListLength,
    ListNext,
    MapNamedItem, // of a map of attributes
    MapItem,
    MapLength,
    AttributeName,
    AttributeText,
    AttributeValue
};

// One call of one method of MSXML's own objects answers with a fault, for what it will not give on
// demand: rewrites the method's entry in the table of its class for as long as it lives, and passes all
// other calls on. COM must be initialised. One at a time.
class DomFault
{
public:
    // The call-th call of the method from now on gives the answer and a null result.
    DomFault(DomMethod method, HRESULT answer, int call = 1);
    ~DomFault();
    DomFault(const DomFault&) = delete;
    DomFault& operator=(const DomFault&) = delete;

    // Did the call come at all?
    [[nodiscard]] bool Happened() const;

private:
    void** slot = nullptr;
};

} // namespace prodsweep::test
