#pragma once

#include <unknwn.h>

#include <cstddef>

namespace prodsweep::test {

// The place of a method in the table of its COM interface: 3 of IUnknown, 4 of IDispatch, then the
// interface's own in the order of msxml.h.
enum class DomSlot : std::size_t
{
    QueryInterface = 0, // of every interface
    NodeName = 7,       // IXMLDOMNode
    NodeValue = 8,
    ChildNodes = 12,
    Attributes = 17,
    Text = 26,
    SelectSingleNode = 37,
    DocumentLoad = 58, // IXMLDOMDocument
    ListItem = 7,      // IXMLDOMNodeList
    ListLength = 8,
    ListNext = 9,
    MapNamedItem = 7, // IXMLDOMNamedNodeMap
    MapItem = 10,
    MapLength = 11
};

// ImportPatch for COM: replaces one method of the objects of a kind for as long as it lives. The table
// of methods belongs to the class, so all objects of the class of this one are changed (every element,
// say, but no comment), from whatever module they are called. The replacement takes the object first.
class MethodPatch
{
public:
    template <class Function>
    MethodPatch(IUnknown* object, DomSlot place, Function* replacement)
        : MethodPatch(object, place, reinterpret_cast<void*>(replacement), 0)
    {}
    ~MethodPatch();
    MethodPatch(const MethodPatch&) = delete;
    MethodPatch& operator=(const MethodPatch&) = delete;

    // The real method, for replacements that pass calls on.
    template <class Function>
    [[nodiscard]] Function* Original() const
    {
        return reinterpret_cast<Function*>(original);
    }

private:
    MethodPatch(IUnknown* object, DomSlot place, void* replacement, int);

    void** slot;
    void* original;
};

} // namespace prodsweep::test
