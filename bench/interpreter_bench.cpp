// The walk of a descriptor, the in-use pass and its answers.
#include "bench/bare_xml.h"
#include "bench/benches.h"
#include "bench/trees.h"
#include "interpreter/product_check_use.h"
#include "interpreter/product_config.h"

#include <windows.h>

#include <fstream>
#include <string>

namespace prodsweep::bench {
namespace {

constexpr wchar_t descriptor[] = L"descriptor.xml";

std::wstring Root()
{
    wchar_t temp[MAX_PATH] = {};
    GetTempPathW(MAX_PATH, temp);
    return std::wstring(temp) + L"prodsweep-bench-used";
}

std::string Narrow(const std::wstring& text)
{
    return {text.begin(), text.end()}; // the temporary folder's name is ASCII here
}

void WriteDescriptor(const std::string& sections)
{
    std::ofstream("descriptor.xml")
        << "<uninstall_information><version_list><v1/></version_list><v1><install_folder name=\"x\"/><win_nt>"
        << sections << "</win_nt></v1></uninstall_information>";
}

// The walk alone: the base class does nothing with an entry.
class Walk final : public CProductConfig
{
public:
    Walk() : CProductConfig(descriptor) {}
};

void BareWalk()
{
    BareEntries(descriptor, [](IXMLDOMNode* entry) {
        BareName(entry);
        BareAttributes(entry, [](const wchar_t*) {});
    });
}

void CompareWalk(Report& report)
{
    std::string sections;
    for (int section = 0; section < 10; ++section)
    {
        sections += "<section op_code=\"del_file\">";
        for (int entry = 0; entry < 1'000; ++entry)
            sections += "<entry path=\"app_path\" name=\"file" + std::to_string(entry) + ".dll\" score=\"1\"/>";
        sections += "</section>";
    }
    WriteDescriptor(sections);
    const Pair pair = SideBySide(
        11, [] { Walk().Process(); }, BareWalk);
    report.Compare("descriptor of 10,000 entries", "walk", pair, "bare MSXML", 1.3);
}

void CompareInUse(Report& report, const TreeShape& shape)
{
    const std::wstring root = Root();
    BareRemoveFolder(root);
    MakeTree(root, 20'000, shape);
    WriteDescriptor("<section op_code=\"del_folder\"><entry name=\"" + Narrow(root) + "\"/></section>");
    const Pair pair = SideBySide(
        11, [] { const CProductCheckUse used(descriptor); }, [&] { BareListFolder(root); });
    report.Compare("in-use pass over 20,000 files, " + std::string(shape.name), "CProductCheckUse", pair,
                   "bare enumeration", 1.15);
    BareRemoveFolder(root);
}

// Asks a product that protects count files for each of them. The nanoseconds of all questions.
double AskForEach(int count)
{
    const std::wstring root = Root();
    BareRemoveFolder(root);
    MakeTree(root, count, flatTree);
    WriteDescriptor("<section op_code=\"del_folder\"><entry name=\"" + Narrow(root) + "\"/></section>");
    const CProductCheckUse used(descriptor);
    int found = 0;
    const double time = Nanoseconds([&] {
        for (int i = 0; i < count; ++i)
            found += used.IsFileUsed((root + L"\\file" + std::to_wstring(i) + L".dat").c_str()) ? 1 : 0;
    });
    BareRemoveFolder(root);
    return found == count ? time : -1;
}

} // namespace

void BenchInterpreter(Report& report)
{
    CoInitialize(nullptr);
    CompareWalk(report);
    CompareInUse(report, bushyTree);
    CompareInUse(report, mixedTree);
    const double small = AskForEach(2'000);
    const double large = AskForEach(20'000);
    report.Figure("in-use questions", "2,000 asked for 2,000 paths", small / 1e6, "ms");
    report.Figure("in-use questions", "20,000 asked for 20,000 paths", large / 1e6, "ms");
    report.Figure("in-use questions", "growth, 10 times of both", large / small, "x");
    CoUninitialize();
}

} // namespace prodsweep::bench
