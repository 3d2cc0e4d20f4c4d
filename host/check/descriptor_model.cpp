#include "check/descriptor_model.h"

#include <map>
#include <set>
#include <string_view>

#include "common/path_join.h"
#include "environment/special_folder.h"

namespace prodsweep {

namespace {

EntryModel EntryOf(const XmlNode& node, const std::wstring& opCode)
{
    EntryModel entry;
    entry.node = &node;
    entry.removed = !EqualIgnoringCase(node.name, L"sleep");
    entry.detected = !EqualIgnoringCase(node.TextContent(), L"sleep");
    entry.attributes.emplace(L"op_code", opCode);
    for (const XmlAttribute& attribute : node.attributes)
    {
        if (EqualIgnoringCase(attribute.name, L"score"))
            entry.score = DecimalPrefix(attribute.value);
        else if (EqualIgnoringCase(attribute.name, L"mandatory"))
            entry.mandatory = EqualIgnoringCase(attribute.value, L"yes");
        else
            entry.attributes.emplace(attribute.name, attribute.value);
    }
    return entry;
}

SectionModel SectionOf(const XmlNode& node)
{
    SectionModel section;
    section.node = &node;
    if (const XmlAttribute* opCode = node.Find(L"op_code"))
        section.opCodeText = opCode->value;
    section.opCode = FindOpCode(section.opCodeText);
    if (const XmlAttribute* minimum = node.Find(L"minimum_score"))
        section.minimum = DecimalPrefix(minimum->value);
    for (const XmlNode& child : node.children)
    {
        // Ends the section for every pass.
        if (!child.IsElement())
            break;
        section.entries.push_back(EntryOf(child, section.opCodeText));
    }
    return section;
}

void FindAppPath(VersionModel& version)
{
    const XmlNode* appPath = version.node->Child(L"app_path");
    const XmlNode* installFolder = version.node->Child(L"install_folder");
    const XmlAttribute* name = installFolder != nullptr ? installFolder->Find(L"name") : nullptr;
    version.hasAppPath = name != nullptr ||
                         (appPath != nullptr && appPath->Find(L"key") != nullptr && appPath->Find(L"name") != nullptr);
    version.install = name != nullptr && CSpecialFolder({}).Get(L"program_files", version.appPath);
    if (version.install)
        PathJoin(version.appPath, name->value);
    else
        // No such text begins with another one, as the names of versions may.
        version.appPath = L"A:\\(app_path of " + version.node->name + L')';
}

VersionModel VersionOf(const XmlNode& node)
{
    VersionModel version;
    version.node = &node;
    const XmlAttribute* mode = node.Find(L"mandatory_sections");
    version.allSections = mode != nullptr && mode->value == L"all";
    FindAppPath(version);
    if (const XmlNode* winNt = node.Child(L"win_nt"))
    {
        for (const XmlNode& section : winNt->children)
        {
            if (section.IsElement())
                version.sections.push_back(SectionOf(section));
            else
                version.hasStrayNode = true;
        }
    }
    return version;
}

} // namespace

Position EntryModel::At(std::wstring_view name) const
{
    const XmlAttribute* attribute = node->Find(name);
    return attribute != nullptr ? attribute->at : node->at;
}

DescriptorModel ModelOf(const SourceFile& file)
{
    DescriptorModel model;
    model.file = &file;
    std::set<const XmlNode*> added;
    const auto add = [&](const XmlNode& node, bool listed) {
        if (added.insert(&node).second)
            model.versions.emplace_back(VersionOf(node)).listed = listed;
    };
    std::map<std::wstring_view, const XmlNode*> firstNamed;
    for (const XmlNode& child : file.root.children)
    {
        if (child.IsElement() && child.name != L"version_list")
            firstNamed.emplace(child.name, &child);
    }
    if (const XmlNode* list = file.root.Child(L"version_list"))
    {
        for (const XmlNode& name : list->children)
        {
            if (const auto version = firstNamed.find(name.name); version != firstNamed.end())
                add(*version->second, true);
        }
    }
    // In the order of the file.
    for (const XmlNode& child : file.root.children)
    {
        if (const auto first = firstNamed.find(child.name); first != firstNamed.end() && first->second == &child)
            add(child, false);
    }
    return model;
}

} // namespace prodsweep
