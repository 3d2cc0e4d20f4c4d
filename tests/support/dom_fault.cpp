#include "support/dom_fault.h"

#include "support/dom.h"
#include "support/import_patch.h"
#include "support/method_patch.h"

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
    DomSlot slot;
    Result result;
};

constexpr Method methods[] = {
    {DomMethod::DocumentQueryNode, Class::Document, DomSlot::QueryInterface, Result::Second},
    {DomMethod::DocumentSelect, Class::DocumentNode, DomSlot::SelectSingleNode, Result::Second},
    {DomMethod::ElementName, Class::Element, DomSlot::NodeName, Result::First},
    {DomMethod::ElementChildren, Class::Element, DomSlot::ChildNodes, Result::First},
    {DomMethod::ElementAttributes, Class::Element, DomSlot::Attributes, Result::First},
    {DomMethod::ElementText, Class::Element, DomSlot::Text, Result::First},
    {DomMethod::ElementSelect, Class::Element, DomSlot::SelectSingleNode, Result::Second},
    {DomMethod::CommentName, Class::Comment, DomSlot::NodeName, Result::First},
    {DomMethod::ListItem, Class::List, DomSlot::ListItem, Result::Second},
    {DomMethod::ListLength, Class::List, DomSlot::ListLength, Result::None},
    {DomMethod::ListNext, Class::List, DomSlot::ListNext, Result::First},
    {DomMethod::MapNamedItem, Class::Map, DomSlot::MapNamedItem, Result::Second},
    {DomMethod::MapItem, Class::Map, DomSlot::MapItem, Result::Second},
    {DomMethod::MapLength, Class::Map, DomSlot::MapLength, Result::None},
    {DomMethod::AttributeName, Class::Attribute, DomSlot::NodeName, Result::First},
    {DomMethod::AttributeText, Class::Attribute, DomSlot::Text, Result::First},
    {DomMethod::AttributeValue, Class::Attribute, DomSlot::NodeValue, Result::None},
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
    const bool counts = state.callsLeft > 0 && Counts(static_cast<void*>(first));
    if (counts)
        --state.callsLeft;
    if (!counts || state.callsLeft > 0)
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
    slot = table + static_cast<std::size_t>(row->slot);
    state = {row, reinterpret_cast<Call>(*slot), answer, call};
    WriteProtected(static_cast<void*>(slot), reinterpret_cast<void*>(&Answer));
}

DomFault::~DomFault()
{
    if (slot != nullptr)
        WriteProtected(static_cast<void*>(slot), reinterpret_cast<void*>(state.original));
    state = {};
}

bool DomFault::Happened() const { return slot != nullptr && state.callsLeft == 0; }

} // namespace prodsweep::test
