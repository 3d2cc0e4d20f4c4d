// What the library takes the samples' catalogues to say.
#include "host/check_behaviour.h"

#include "catalogue/products.h"
#include "common/path_join.h"
#include "support/log_recorder.h"
#include "support/uninstall_entries.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>

namespace prodsweep::test {
namespace {

constexpr const wchar_t* badSample = L"bad";
constexpr const wchar_t* goodSample = L"good";

std::wstring CataloguePath(const std::string& rule, const std::wstring& which, int kind)
{
    return SamplePath(rule, which + (kind == 1 ? L"\\products.xml" : L"\\detection.xml"));
}

bool Loads(const std::string& rule, const wchar_t* which)
{
    CProducts products;
    return products.Load(CataloguePath(rule, which, 1).c_str(), 1, nullptr);
}

CProducts Loaded(const std::string& rule, const wchar_t* which, int kind = 1)
{
    CProducts products;
    EXPECT_TRUE(products.Load(CataloguePath(rule, which, kind).c_str(), kind, nullptr));
    return products;
}

CProductVersion FirstVersion(const std::string& rule, const wchar_t* which)
{
    return Loaded(rule, which).products.at(0).versions.at(0);
}

// HKEY_CURRENT_USER\Software\Harbor Ledger\UpdateLocation with the value "Version", which marks Harbor Ledger.
class InstalledLedger
{
public:
    InstalledLedger() { key.AddText(L"UpdateLocation", L"Version", L"4"); }

private:
    const HarborKey key;
};

bool EndsIn(const std::wstring& text, const std::wstring& end) { return text.ends_with(end); }

std::size_t InstalledProducts(const CProducts& products, int kind)
{
    ProductList installed;
    EXPECT_TRUE(products.GetInstalledProducts(installed, kind));
    return installed.size();
}

// The lines that a removal of Harbor Ledger writes of what it removes and what stays.
std::vector<std::wstring> ListsOfRemoval(CProducts& products, int kind)
{
    const LogRecorder log;
    bool restart = false;
    // The descriptors are not beside this program.
    EXPECT_FALSE(products.Uninstall({L"Harbor Ledger"}, {}, kind, &restart, nullptr));
    std::vector<std::wstring> lines;
    bool listed = false;
    for (const LogRecord& record : log.Records())
    {
        listed = listed || record.text == L"UNINSTALL LIST : ";
        if (listed && record.function == "CProducts::Uninstall" && !record.text.starts_with(L"<-"))
            lines.push_back(record.text);
    }
    return lines;
}

// Whether the removal of Harbor Ledger, the only one installed, takes away the file of Harbor Reader.
bool LastRemovalTakesOthers(const wchar_t* which)
{
    const InstalledLedger ledger;
    const HarborFolder folder(L"common_files");
    folder.Add(L"ledger.dat");
    folder.Add(L"reader.dat");
    CProducts products = Loaded("exec-all-value", which);
    for (CProduct& product : products.products)
        product.file = SamplePath("exec-all-value", which + product.file.substr(product.file.rfind(L"\\intern\\")));
    bool restart = false;
    EXPECT_TRUE(products.Uninstall({L"Harbor Ledger"}, {}, 1, &restart, nullptr));
    EXPECT_FALSE(folder.Has(L"ledger.dat"));
    return !folder.Has(L"reader.dat");
}

void ShowExecAllValue()
{
    EXPECT_TRUE(LastRemovalTakesOthers(badSample));
    EXPECT_FALSE(LastRemovalTakesOthers(goodSample));
}

void ShowExecAllWithoutEffect()
{
    const InstalledLedger ledger;
    CProducts products = Loaded("exec-all-without-effect", badSample, 2);
    EXPECT_TRUE(products.exec_all);
    EXPECT_EQ((std::vector<std::wstring>{L"UNINSTALL LIST : ", L"\"Harbor Ledger\", ", L"CHECK LIST : "}),
              ListsOfRemoval(products, 2));
}

void ShowSharedUnprotected()
{
    const InstalledLedger ledger;
    CProducts products = Loaded("shared-unprotected", badSample, 2);
    products.products.at(1).versions = products.products.at(0).versions; // installed, too
    EXPECT_EQ(2U, InstalledProducts(products, 2));
    EXPECT_EQ((std::vector<std::wstring>{L"UNINSTALL LIST : ", L"\"Harbor Ledger\", ", L"CHECK LIST : "}),
              ListsOfRemoval(products, 2));
}

void ShowEmptyMark()
{
    EXPECT_TRUE(FirstVersion("empty-mark", badSample).IsInstalled());
    EXPECT_FALSE(FirstVersion("empty-mark", goodSample).IsInstalled());
}

void ShowProductCodeBraces()
{
    UninstallEntries entries;
    entries.Add(L"{3E1B5C0A-6A0E-4C57-9C0B-1F5D0B7A4202}");
    EXPECT_FALSE(FirstVersion("product-code-braces", badSample).IsInstalled());
    EXPECT_TRUE(FirstVersion("product-code-braces", goodSample).IsInstalled());
}

void ShowDisplayNameLength()
{
    UninstallEntries entries;
    const std::wstring name = L"Harbor Ledger " + std::wstring(113, L'4');
    entries.Add(UninstallEntries::Unique(L"long"), name);
    entries.Add(UninstallEntries::Unique(L"short"), name.substr(0, 126));
    EXPECT_EQ(name, FirstVersion("display-name-length", badSample).prodName);
    EXPECT_EQ(L"", FirstVersion("display-name-length", badSample).keyPath);
    EXPECT_NE(L"", FirstVersion("display-name-length", goodSample).keyPath);
}

void ShowBothCatalogues()
{
    CProducts both = Loaded("product-in-both-catalogues", badSample, 1);
    EXPECT_TRUE(both.Load(CataloguePath("product-in-both-catalogues", badSample, 2).c_str(), 2, nullptr));
    EXPECT_EQ(both.products.at(0).name, both.products.at(1).name);
}

constexpr Behaviour catalogueBehaviour[] = {
    {"comment-in-product",
     [] {
         EXPECT_FALSE(Loads("comment-in-product", badSample));
         EXPECT_TRUE(Loads("comment-in-product", goodSample));
     }},
    {"keyvalue-missing",
     [] {
         EXPECT_FALSE(Loads("keyvalue-missing", badSample));
         EXPECT_TRUE(Loads("keyvalue-missing", goodSample));
     }},
    {"version-without-mark",
     [] {
         UninstallEntries entries;
         entries.Add(L"HarborLedger4");
         EXPECT_FALSE(FirstVersion("version-without-mark", badSample).IsInstalled());
         EXPECT_FALSE(FirstVersion("version-without-mark", badSample).IsInstalled2());
         EXPECT_EQ(0U, InstalledProducts(Loaded("version-without-mark", badSample), 1));
         EXPECT_EQ(1U, InstalledProducts(Loaded("version-without-mark", goodSample), 1));
     }},
    {"mark-ignored",
     [] {
         const InstalledLedger ledger;
         EXPECT_EQ(0U, InstalledProducts(Loaded("mark-ignored", badSample), 1));
         EXPECT_EQ(1U, InstalledProducts(Loaded("mark-ignored", goodSample), 1));
     }},
    {"update-location-twice",
     [] {
         const InstalledLedger ledger;
         EXPECT_TRUE(
             EndsIn(FirstVersion("update-location-twice", badSample).keyPath, L"\\UpdateLocation\\UpdateLocation"));
         EXPECT_FALSE(FirstVersion("update-location-twice", badSample).IsInstalled());
         EXPECT_TRUE(FirstVersion("update-location-twice", goodSample).IsInstalled());
     }},
    {"empty-mark", &ShowEmptyMark},
    {"product-code-braces", &ShowProductCodeBraces},
    {"display-name-length", &ShowDisplayNameLength},
    {"mark-in-other-view",
     [] {
         UninstallEntries entries;
         entries.Add(L"HarborLedger4", KEY_WOW64_32KEY);
         CProductVersion version = FirstVersion("mark-in-other-view", badSample);
         EXPECT_FALSE(version.IsInstalled());
         EXPECT_TRUE(version.IsInstalled2());
         EXPECT_EQ(0U, InstalledProducts(Loaded("mark-in-other-view", badSample), 1));
     }},
    {"product-without-version",
     [] {
         const InstalledLedger ledger;
         EXPECT_EQ(0U, InstalledProducts(Loaded("product-without-version", badSample), 1));
         EXPECT_EQ(1U, InstalledProducts(Loaded("product-without-version", goodSample), 1));
     }},
    {"duplicate-product",
     [] {
         CProducts products = Loaded("duplicate-product", badSample);
         CProduct info;
         EXPECT_EQ(2U, products.products.size());
         EXPECT_TRUE(products.GetProductInfo(L"Harbor Ledger", info));
         EXPECT_TRUE(EndsIn(info.file, L"\\harbor_ledger.xml"));
     }},
    {"shared-mark",
     [] {
         const InstalledLedger ledger;
         EXPECT_EQ(2U, InstalledProducts(Loaded("shared-mark", badSample), 1));
         EXPECT_EQ(1U, InstalledProducts(Loaded("shared-mark", goodSample), 1));
     }},
    {"exec-all-value", &ShowExecAllValue},
    {"exec-all-repeated",
     [] {
         EXPECT_TRUE(Loaded("exec-all-repeated", badSample).exec_all);
         EXPECT_FALSE(Loaded("exec-all-repeated", goodSample).exec_all);
     }},
    {"exec-all-without-effect", &ShowExecAllWithoutEffect},
    {"product-in-both-catalogues", &ShowBothCatalogues},
    {"shared-unprotected", &ShowSharedUnprotected},
};

} // namespace

std::vector<Behaviour> CatalogueBehaviour() { return {std::begin(catalogueBehaviour), std::end(catalogueBehaviour)}; }

} // namespace prodsweep::test
