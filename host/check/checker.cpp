#include "check/checker.h"

#include <set>
#include <utility>

#include <windows.h>

#include "check/known_names.h"
#include "common/unique_handle.h"
#include "exit_codes.h"
#include "failure.h"
#include "on_disk.h"
#include "text.h"

namespace prodsweep {

namespace {

// A catalogue of all software that was ever written would be smaller.
constexpr long long largestFile = 16LL << 20;

[[noreturn]] void FailToRead(const std::string& path, DWORD error)
{
    throw CFailure(exitNotChecked, '"' + path + "\" cannot be read (Windows error " + std::to_string(error) + ").");
}

std::string ReadWholeFile(const std::string& path)
{
    const UniqueHandle file =
        OwnHandle(CreateFileW(ToWide(path).c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                              OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
    if (file == nullptr)
        FailToRead(path, GetLastError());
    LARGE_INTEGER size{};
    if (!GetFileSizeEx(file.get(), &size))
        FailToRead(path, GetLastError());
    if (size.QuadPart > largestFile)
        throw CFailure(exitNotChecked, '"' + path + "\" is larger than 16 MB, and no catalogue.");
    std::string bytes(static_cast<std::size_t>(size.QuadPart), '\0');
    DWORD length = 0;
    if (!ReadFile(file.get(), bytes.data(), static_cast<DWORD>(bytes.size()), &length, nullptr))
        FailToRead(path, GetLastError());
    bytes.resize(length);
    return bytes;
}

std::string Join(const std::string& folder, const std::string& name)
{
    return folder.ends_with('\\') || folder.ends_with('/') ? folder + name : folder + '\\' + name;
}

constexpr void (*descriptorChecks[])(const DescriptorModel&, const CFileReport&) = {
    &CheckVersions, &CheckSections, &CheckScores, &CheckAttributes, &CheckValues,
    &CheckPaths,    &CheckRegistry, &CheckTools,  &CheckPruning,
};

void CheckDescriptor(const SourceFile& descriptor, const CFileReport& report)
{
    CheckStructure(descriptor, report);
    const DescriptorModel model = ModelOf(descriptor);
    for (const auto check : descriptorChecks)
        check(model, report);
}

struct NamedDescriptor
{
    const SourceFile* catalogue;
    const XmlNode* product;
    std::wstring path;
};

// Each once, whether it is there or not.
std::vector<NamedDescriptor> DescriptorsOf(const CatalogueFolder& folder)
{
    std::set<std::wstring> seen;
    std::vector<NamedDescriptor> named;
    for (const SourceFile* catalogue : folder.catalogues)
    {
        for (const XmlNode& product : catalogue->root.children)
        {
            const XmlAttribute* name = product.name == L"product" ? product.Find(L"file") : nullptr;
            const std::wstring path =
                name != nullptr ? DescriptorPath(folder, *catalogue, name->value) : std::wstring();
            if (!path.empty() && seen.insert(Lowered(AbsolutePath(path))).second)
                named.push_back({catalogue, &product, path});
        }
    }
    return named;
}

} // namespace

void CChecker::Check(const std::string& path)
{
    if (IsFile(ToWide(path)))
        CheckFile(path, Owner::Unknown);
    else if (PathExists(ToWide(path)))
        CheckFolderOfCatalogues(path);
    else
        throw CFailure(exitNotChecked, "there is no file or folder \"" + path + "\".");
}

const SourceFile* CChecker::CheckFile(const std::string& shown, Owner owner)
{
    SourceFile& file = files.emplace_back();
    file.shown = shown;
    file.path = ToWide(shown);
    file.owner = owner;
    ++fileCount;
    const CFileReport report(findings, file.shown);
    try
    {
        XmlDocument document = ParseXml(ReadWholeFile(shown));
        file.root = std::move(document.root);
        if (document.documentType)
            report.Add("document-type", *document.documentType, "The file has a document type.");
        for (const UndeclaredPrefix& use : document.undeclaredPrefixes)
            report.Add("undeclared-prefix", use.at,
                       "Nothing declares the prefix " + Quoted(use.prefix) + " of " + Quoted(use.name) + '.');
    }
    catch (const CXmlFault& fault)
    {
        report.Add("not-well-formed", fault.Where(), std::string("The file cannot be read: ") + fault.what() + '.');
        return nullptr;
    }
    if (file.root.name != L"uninstall_information")
    {
        report.Add("wrong-root", file.root.at, "The root element is " + Quoted(file.root.name) + '.');
        return nullptr;
    }
    Classify(file);
    if (file.isCatalogue)
        CheckCatalogue(file, report);
    else
        CheckDescriptor(file, report);
    return &file;
}

void CChecker::CheckFolderOfCatalogues(const std::string& path)
{
    CatalogueFolder folder{ToWide(path), {}};
    while (folder.path.ends_with(L'\\') || folder.path.ends_with(L'/'))
        folder.path.pop_back();
    bool found = false;
    for (const char* name : {"products.xml", "detection.xml"})
    {
        const std::string catalogue = Join(path, name);
        if (!IsFile(ToWide(catalogue)))
            continue;
        found = true;
        if (const SourceFile* file = CheckFile(catalogue, Owner::Unknown))
            folder.catalogues.push_back(file);
    }
    if (!found)
        throw CFailure(exitNotChecked, "the folder \"" + path + "\" holds neither products.xml nor detection.xml.");
    CheckFolder(folder, findings);
    CheckDescriptors(folder, path);
}

void CChecker::CheckDescriptors(const CatalogueFolder& folder, const std::string& shownFolder)
{
    std::vector<DescriptorModel> models;
    for (const NamedDescriptor& named : DescriptorsOf(folder))
    {
        const std::string shown = Join(shownFolder, ToUtf8(named.path.substr(folder.path.size() + 1)));
        const SourceFile* file = IsFile(ToWide(shown)) ? CheckFile(shown, named.catalogue->owner) : nullptr;
        if (file == nullptr || file->isCatalogue)
            continue;
        models.push_back(ModelOf(*file));
        if (named.catalogue->owner == Owner::Own)
            CheckViews(*named.product, models.back(), CFileReport(findings, named.catalogue->shown));
    }
    CheckShared(models, findings);
}

} // namespace prodsweep
