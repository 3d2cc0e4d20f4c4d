#include "check/checks.h"

#include <map>
#include <set>
#include <string_view>

#include "check/known_names.h"
#include "common/path_join.h"
#include "on_disk.h"

namespace prodsweep {

namespace {

struct Naming
{
    const SourceFile* catalogue;
    const XmlNode* product;
    const XmlAttribute* attribute;
};

std::vector<Naming> Namings(const CatalogueFolder& folder, std::wstring_view attribute)
{
    std::vector<Naming> namings;
    for (const SourceFile* catalogue : folder.catalogues)
    {
        for (const XmlNode& product : catalogue->root.children)
        {
            const XmlAttribute* found = product.name == L"product" ? product.Find(attribute) : nullptr;
            if (found != nullptr && !found->value.empty())
                namings.push_back({catalogue, &product, found});
        }
    }
    return namings;
}

void CheckDescriptorFiles(const CatalogueFolder& folder, CFindings& findings)
{
    std::map<std::wstring, Naming> first;
    for (const Naming& naming : Namings(folder, L"file"))
    {
        const std::wstring path = DescriptorPath(folder, *naming.catalogue, naming.attribute->value);
        const CFileReport report(findings, naming.catalogue->shown);
        if (!IsFile(path))
            report.Add("descriptor-missing", naming.attribute->at,
                       "There is no file " + Quoted(path.substr(folder.path.size() + 1)) + '.');
        else if (const auto [other, isFirst] = first.emplace(Lowered(AbsolutePath(path)), naming); !isFirst)
            report.Add("descriptor-shared", naming.attribute->at,
                       "The product in line " + std::to_string(other->second.product->at.line) +
                           " has the same descriptor.");
    }
}

void CheckNamesInBoth(const CatalogueFolder& folder, CFindings& findings)
{
    const std::vector<Naming> namings = Namings(folder, L"name");
    std::set<std::wstring_view> own;
    for (const Naming& naming : namings)
    {
        if (naming.catalogue->owner == Owner::Own)
            own.insert(naming.attribute->value);
    }
    for (const Naming& naming : namings)
    {
        if (naming.catalogue->owner == Owner::Other && own.contains(naming.attribute->value))
            CFileReport(findings, naming.catalogue->shown)
                .Add("product-in-both-catalogues", naming.attribute->at,
                     Quoted(naming.attribute->value) + " is in products.xml, too.");
    }
}

} // namespace

std::wstring DescriptorPath(const CatalogueFolder& folder, const SourceFile& catalogue, const std::wstring& name)
{
    std::wstring path = folder.path;
    PathJoin(path, catalogue.owner == Owner::Own ? L"intern" : L"extern");
    return PathJoin(path, name);
}

void CheckFolder(const CatalogueFolder& folder, CFindings& findings)
{
    CheckDescriptorFiles(folder, findings);
    CheckNamesInBoth(folder, findings);
}

} // namespace prodsweep
