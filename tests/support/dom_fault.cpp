#include "support/dom_fault.h"

#include "support/dom.h"

#include <gtest/gtest.h>

namespace prodsweep::test {
namespace {

constexpr IID nodeInterface = {0x2933BF80, 0x7B36, 0x11D2, {0xB2, 0x0E, 0x00, 0xC0, 0x4F, 0x98, 0x3E, 0x60}};

enum class Class
{
    Document,
    DocumentNode,
    Element,
    Comment,
    List,
    Map,
    Attribute
};

enum class Result
{
    None,   // left as it is: a number, or a VARIANT
    First,  // a pointer, through the first argument
    Second, // a pointer, through the second argument
};

struct Method
{
    DomMethod method;
    Class owner;
    std::size_t slot;
    Result result;
};

// The places are those of msxml.h: 3 of IUnknown, 4 of IDispatch, then the interface's own.
constexpr Method methods[] = {
    {DomMethod::DocumentQueryNode, Class::Document, 0, Result::Second},
    {DomMethod::DocumentSelect, Class::DocumentNode, 37, Result::Second},
    {DomMethod::ElementName, Class::Element, 7, Result::First},
    {DomMethod::ElementChildren, Class::Element, 12, Result::First},
    {DomMethod::ElementAttributes, Class::Element, 17, Result::First},
    {DomMethod::ElementText, Class::Element, 26, Result::First},
    {DomMethod::ElementSelect, Class::Element, 37, Result::Second},
    {DomMethod::CommentName, Class::Comment, 7, Result::First},
    {DomMethod::ListItem, Class::List, 7, Result::Second},
    {DomMethod::ListLength, Class::List, 8, Result::None},
    {DomMethod::MapNamedItem, Class::Map, 7, Result::Second},
    {DomMethod::MapItem, Class::Map, 10, Result::Second},
    {DomMethod::MapLength, Class::Map, 11, Result::None},
    {DomMethod::AttributeName, Class::Attribute, 7, Result::First},
    {DomMethod::AttributeText, Class::Attribute, 26, Result::First},
    {DomMethod::AttributeValue, Class::Attribute, 8, Result::None},
};

// Every method here takes at most two arguments, each in a register of its own, so one signature
// serves them all.
using Call = HRESULT(WINAPI*)(void* self, void** first, void** second);

struct State
{
    const Method* method = nullptr;
    Call original = nullptr;
    HRESULT answer = S_OK;
    int callsLeft = 0;
};
State state;

bool Counts(void* first)
{
    return state.method->method != DomMethod::DocumentQueryNode || *static_cast<const IID*>(first) == nodeInterface;
}

HRESULT WINAPI Answer(void* self, void** first, void** second)
{
    if (state.callsLeft == 0 || !Counts(first) || --state.callsLeft > 0)
        return state.original(self, first, second);
    if (state.method->result == Result::First)
        *first = nullptr;
    else if (state.method->result == Result::Second)
        *second = nullptr;
    return state.answer;
}

void** TableOf(IUnknown* object) { return object != nullptr ? *reinterpret_cast<void***>(object) : nullptr; }

// The methods of the class, as the library's own calls reach them.
void** FindTable(Class owner)
{
    const DomText text(L"<a b='c'><!--d--></a>");
    UniqueXmlNodeList list;
    UniqueXmlAttributes map;
    UniqueXmlNode attribute;
    UniqueXmlNode document;
    CXMLHelper::ChildNodes(text.Root(), list);
    CXMLHelper::Attributes(text.Root(), map);
    CXMLHelper::AttributeAt(map.get(), 0, attribute);
    CXMLHelper::DocumentNode(text.Document(), document);
    switch (owner)
    {
    case Class::Document:
        return TableOf(text.Document());
    case Class::DocumentNode:
        return TableOf(document.get());
    case Class::Element:
        return TableOf(text.Root());
    case Class::Comment:
        return TableOf(text.Child(0).get());
    case Class::List:
        return TableOf(list.get());
    case Class::Map:
        return TableOf(map.get());
    default:
        return TableOf(attribute.get());
    }
}

void Write(void** slot, void* value)
{
    DWORD protection = 0;
    VirtualProtect(slot, sizeof(*slot), PAGE_READWRITE, &protection);
    *slot = value;
    VirtualProtect(slot, sizeof(*slot), protection, &protection);
}

} // namespace

DomFault::DomFault(DomMethod method, HRESULT answer, int call)
{
    EXPECT_EQ(nullptr, state.method) << "one DomFault at a time";
    const Method* row = methods;
    while (row->method != method)
        ++row;
    void** const table = FindTable(row->owner);
    if (table == nullptr)
    {
        ADD_FAILURE() << "MSXML gave no object of the class";
        return;
    }
    slot = table + row->slot;
    state = {row, reinterpret_cast<Call>(*slot), answer, call};
    Write(slot, reinterpret_cast<void*>(&Answer));
}

DomFault::~DomFault()
{
    if (slot != nullptr)
        Write(slot, reinterpret_cast<void*>(state.original));
    state = {};
}

bool DomFault::Happened() const { return slot != nullptr && state.callsLeft == 0; }

} // namespace prodsweep::test
