// GetInstalledProducts against the bare calls that the listing asks of MSXML and the registry.
#include "bench/bare_listing.h"
#include "bench/benches.h"
#include "bench/library_copy.h"

#include <prodsweep/prodsweep.h>
#include <windows.h>

#include <fstream>
#include <string>

namespace prodsweep::bench {
namespace {

void WriteCatalogue(int products)
{
    std::ofstream file("listing\\products.xml");
    file << "<uninstall_information>\n";
    for (int i = 0; i < products; ++i)
    {
        file << "<product name=\"Product " << i << "\" file=\"product_" << i << ".xml\"><v1 name=\"1.0\" "
             << "id=\"prodsweep-bench-" << i << "\"><setup>setup.exe</setup></v1></product>\n";
    }
    file << "</uninstall_information>\n";
}

void BareList()
{
    CoInitialize(nullptr);
    BareListing(L"listing\\products.xml");
    CoUninitialize();
}

struct Share
{
    const char* name;
    int step;
};

} // namespace

void BenchListing(Report& report)
{
    const LibraryCopy library(L"listing");
    const LibraryCopy::Listing getInstalledProducts = library.Function("GetInstalledProducts");
    for (const Share& share : {Share{"none", 0}, Share{"half", 2}, Share{"all", 1}})
    {
        Pair small{};
        for (const int products : {100, 1'000, 10'000})
        {
            WriteCatalogue(products);
            const InstalledEntries installed(products, share.step);
            const int expected = share.step == 0 ? 0 : (products + share.step - 1) / share.step;
            const Pair pair = SideBySide(
                products == 10'000 ? 5 : 11, [&] { List(getInstalledProducts, PRODSWEEP_LIST_OWN, expected); },
                BareList);
            report.Compare("GetInstalledProducts, installed: " + std::string(share.name),
                           std::to_string(products) + " products", pair, "bare MSXML and registry", 1.25);
            if (products == 1'000)
                small = pair;
            else if (products == 10'000)
                report.Figure("GetInstalledProducts, installed: " + std::string(share.name),
                              "growth 1,000 to 10,000, against the floor's",
                              (pair.ours / small.ours) / (pair.peer / small.peer), "x", 1.1);
        }
    }
}

} // namespace prodsweep::bench
