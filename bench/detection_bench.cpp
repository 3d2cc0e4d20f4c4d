// GetInstalledProductsEx for products that are found by their descriptors, against the bare calls that
// this asks of MSXML, the registry and the file system.
#include "bench/bare_listing.h"
#include "bench/bare_xml.h"
#include "bench/benches.h"
#include "bench/library_copy.h"

#include <prodsweep/prodsweep.h>
#include <windows.h>

#include <shlwapi.h>
#include <sys/stat.h>

#include <fstream>
#include <string>

namespace prodsweep::bench {
namespace {

constexpr int products = 1'000;
constexpr int entriesEach = 50;

std::string Descriptor(int product) { return "detection\\extern\\product_" + std::to_string(product) + ".xml"; }

// Half of a descriptor's files are there, which is what it takes.
void WriteDescriptor(int product)
{
    std::ofstream file(Descriptor(product));
    file << "<uninstall_information><version_list><v1/></version_list><v1 mandatory_sections=\"any\">"
         << "<install_folder name=\"x\"/><win_nt><files op_code=\"del_file\" minimum_score=\"" << entriesEach / 2
         << "\">";
    for (int i = 0; i < entriesEach; ++i)
    {
        file << "<entry name=\"C:\\windows\\"
             << (i % 2 == 0 ? "explorer.exe" : "prodsweep-none-" + std::to_string(i) + ".dll") << "\"/>";
    }
    file << "</files></win_nt></v1></uninstall_information>";
}

void WriteProducts()
{
    CreateDirectoryW(L"detection\\extern", nullptr);
    std::ofstream file("detection\\detection.xml");
    file << "<uninstall_information>\n";
    for (int i = 0; i < products; ++i)
    {
        WriteDescriptor(i);
        file << "<product name=\"Product " << i << "\" file=\"product_" << i << ".xml\"><v1 name=\"1.0\" "
             << "id=\"prodsweep-bench-" << i << "\"/></product>\n";
    }
    file << "</uninstall_information>\n";
}

void BareCheckFile(const wchar_t* path)
{
    wchar_t canonical[MAX_PATH] = {};
    PathCanonicalizeW(canonical, path);
    struct _stat64 status = {};
    _wstat64(canonical, &status);
}

void BareDetection()
{
    CoInitialize(nullptr);
    BareListing(L"detection\\detection.xml");
    for (int i = 0; i < products; ++i)
    {
        const std::string path = Descriptor(i);
        BareEntries(std::wstring(path.begin(), path.end()).c_str(), [](IXMLDOMNode* entry) {
            BareName(entry);
            BareText(entry);
            BareAttributes(entry, BareCheckFile);
        });
    }
    CoUninitialize();
}

} // namespace

void BenchDetection(Report& report)
{
    const LibraryCopy library(L"detection");
    const LibraryCopy::Listing getInstalledProductsEx = library.Function("GetInstalledProductsEx");
    WriteProducts();
    const InstalledEntries installed(products, 2);
    const Pair pair = SideBySide(
        5, [&] { List(getInstalledProductsEx, PRODSWEEP_LIST_OTHER, products); }, BareDetection);
    constexpr char group[] = "GetInstalledProductsEx, 1,000 products by descriptors of 50 entries";
    report.Compare(group, "detection", pair, "bare MSXML, registry, files");
    report.OutsideSystemCalls(group, pair);
}

} // namespace prodsweep::bench
