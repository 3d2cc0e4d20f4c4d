#include "check/checks.h"

#include <algorithm>
#include <map>

#include <windows.h>

#include <objbase.h>

#include "check/key_text.h"
#include "check/known_names.h"

namespace prodsweep {

namespace {

constexpr std::wstring_view rootElements[] = {L"exec_all", L"product"};
constexpr std::wstring_view productAttributes[] = {L"name", L"file"};
constexpr std::wstring_view versionAttributes[] = {L"name", L"id", L"prodName", L"keypath", L"keyvalue"};

// The library reads the display names of the system's list into so many characters.
constexpr std::size_t longestDisplayName = 126;

void CheckRoot(const SourceFile& catalogue, const CFileReport& report)
{
    ReportUnknownAttributes(catalogue.root, {}, report);
    const XmlNode* execAll = nullptr;
    for (const XmlNode& child : catalogue.root.children)
    {
        if (!child.IsElement())
            continue;
        if (std::find(std::begin(rootElements), std::end(rootElements), child.name) == std::end(rootElements))
            report.Add("unknown-element", child.at,
                       "Nothing reads an element " + Quoted(child.name) + " here." +
                           Suggestion(child.name, rootElements));
        if (child.name != L"exec_all")
            continue;
        if (execAll != nullptr)
            report.Add("exec-all-repeated", child.at,
                       "exec_all stands in line " + std::to_string(execAll->at.line) + " already.");
        execAll = &child;
        const std::wstring text = child.TextContent();
        if (text != L"true" && text != L"false")
            report.Add("exec-all-value", child.at, Quoted(text) + R"( means true, like all but exactly "false".)");
        if (catalogue.owner == Owner::Other)
            report.Add("exec-all-without-effect", child.at,
                       "exec_all stands in a catalogue of other makers' products.");
    }
}

bool LooksLikeProductCode(const std::wstring& id)
{
    // A guid without its braces.
    GUID guid{};
    return !id.starts_with(L'{') && CLSIDFromString((L'{' + id + L'}').c_str(), &guid) == S_OK;
}

void CheckMarks(const XmlNode& version, const CFileReport& report)
{
    const XmlAttribute* id = version.Find(L"id");
    const XmlAttribute* prodName = version.Find(L"prodName");
    const XmlAttribute* keypath = version.Find(L"keypath");
    const XmlAttribute* keyvalue = version.Find(L"keyvalue");
    if (id == nullptr && prodName == nullptr && keypath == nullptr)
        report.Add("version-without-mark", version.at, Quoted(version.name) + " has neither id, prodName nor keypath.");
    for (const XmlAttribute* mark : {id, prodName})
    {
        if (mark != nullptr && mark->value.empty())
            report.Add("empty-mark", mark->at, Quoted(mark->name) + " is empty.");
    }
    if (id != nullptr)
    {
        for (const XmlAttribute* other : {prodName, keypath, keyvalue})
        {
            if (other != nullptr)
                report.Add("mark-ignored", other->at, Quoted(other->name) + " is not read beside \"id\".");
        }
        if (LooksLikeProductCode(id->value))
            report.Add("product-code-braces", id->at, Quoted(id->value) + " is a product code without its braces.");
        return;
    }
    if (prodName != nullptr && prodName->value.size() > longestDisplayName)
        report.Add("display-name-length", prodName->at,
                   "The name has " + std::to_string(prodName->value.size()) + " characters.");
    if (keypath != nullptr && keyvalue == nullptr)
        report.Add("keyvalue-missing", keypath->at, "There is no keyvalue beside keypath.");
    if (keypath == nullptr && keyvalue != nullptr)
        report.Add("mark-ignored", keyvalue->at, R"("keyvalue" is only read beside "keypath".)");
}

void CheckKeyPath(const XmlNode& version, const CFileReport& report)
{
    const XmlAttribute* keypath = version.Find(L"keypath");
    if (keypath == nullptr || version.Find(L"id") != nullptr)
        return;
    const KeyText key = SplitKeyText(keypath->value);
    if (!key.hiveKnown)
        report.Add("unknown-hive", keypath->at, HiveFault(keypath->value));
    else if (HasOddSeparator(key.subkey))
        report.Add("key-separator", keypath->at, Quoted(keypath->value) + R"( is not parted by single "\".)");
    std::wstring path = keypath->value;
    while (path.ends_with(L'\\'))
        path.pop_back();
    if (path != keypath->value)
        report.Add("key-separator", keypath->at, Quoted(keypath->value) + R"( ends in "\".)");
    if (EqualIgnoringCase(std::wstring(NameOf(path)), L"UpdateLocation"))
        report.Add("update-location-twice", keypath->at, Quoted(keypath->value) + " ends in UpdateLocation already.");
}

void CheckProduct(const SourceFile& catalogue, const XmlNode& product, const CFileReport& report)
{
    ReportUnknownAttributes(product, productAttributes, report);
    for (const std::wstring_view name : productAttributes)
    {
        const XmlAttribute* attribute = product.Find(name);
        if (attribute == nullptr)
            report.Add("missing-attribute", product.at, "The product has no attribute " + Quoted(name) + '.');
        else if (attribute->value.empty())
            report.Add("empty-name", attribute->at, Quoted(name) + " is empty.");
    }
    for (const XmlNode& version : product.children)
    {
        if (!version.IsElement())
        {
            report.Add("comment-in-product", version.at, "What stands here is taken for a version.");
            continue;
        }
        ReportUnknownAttributes(version, versionAttributes, report);
        if (version.Find(L"name") == nullptr)
            report.Add("missing-attribute", version.at, "The version has no attribute \"name\".");
        CheckMarks(version, report);
        CheckKeyPath(version, report);
    }
    if (product.children.empty() && catalogue.owner == Owner::Own)
        report.Add("product-without-version", product.at, "The product has no version.");
}

// What a version is recognised by, alike for those that are recognised by the same; empty if there is nothing.
std::wstring MarkOf(const XmlNode& version)
{
    if (const XmlAttribute* id = version.Find(L"id"))
        return L"id=" + Lowered(id->value);
    // Of the three this one is compared in its case.
    if (const XmlAttribute* prodName = version.Find(L"prodName"))
        return L"prodName=" + prodName->value;
    const XmlAttribute* keypath = version.Find(L"keypath");
    const XmlAttribute* keyvalue = version.Find(L"keyvalue");
    if (keypath == nullptr || keyvalue == nullptr)
        return {};
    const KeyText key = SplitKeyText(keypath->value);
    return L"keypath=" + Lowered(key.hiveKnown ? key.hive + L'\\' + key.subkey : keypath->value) + L'\\' +
           Lowered(keyvalue->value);
}

struct Mark
{
    const XmlNode* product;
    const XmlNode* version;
};

void CheckSharedMarks(const XmlNode& root, const CFileReport& report)
{
    std::map<std::wstring, Mark> marks;
    for (const XmlNode& product : root.children)
    {
        for (const XmlNode& version : product.children)
        {
            const std::wstring text = product.name == L"product" ? MarkOf(version) : std::wstring();
            if (text.empty())
                continue;
            const auto [first, isFirst] = marks.try_emplace(text, Mark{&product, &version});
            if (!isFirst)
                report.Add("shared-mark", version.at,
                           "The version in line " + std::to_string(first->second.version->at.line) +
                               (first->second.product == &product ? " of this product" : " of another product") +
                               " is recognised by the same.");
        }
    }
}

void CheckNames(const XmlNode& root, const CFileReport& report)
{
    std::map<std::wstring_view, const XmlNode*> first;
    for (const XmlNode& product : root.children)
    {
        const XmlAttribute* name = product.name == L"product" ? product.Find(L"name") : nullptr;
        if (name == nullptr)
            continue;
        if (const auto [known, isFirst] = first.emplace(name->value, &product); !isFirst)
            report.Add("duplicate-product", name->at,
                       "The product in line " + std::to_string(known->second->at.line) + " has the same name.");
    }
}

} // namespace

void CheckCatalogue(const SourceFile& catalogue, const CFileReport& report)
{
    CheckRoot(catalogue, report);
    for (const XmlNode& child : catalogue.root.children)
    {
        if (child.IsElement() && child.name == L"product")
            CheckProduct(catalogue, child, report);
    }
    CheckNames(catalogue.root, report);
    CheckSharedMarks(catalogue.root, report);
}

} // namespace prodsweep
