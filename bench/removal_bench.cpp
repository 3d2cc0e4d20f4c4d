// The removal of a whole product: its descriptor's walk, the lists, and carrying them out.
#include "bench/benches.h"
#include "bench/trees.h"
#include "common/unique_reg_key.h"
#include "environment/log.h"
#include "interpreter/product_uninstall.h"
#include "registry/split_key_path.h"

#include <windows.h>

#include <fstream>
#include <stdexcept>
#include <string>

namespace prodsweep::bench {
namespace {

constexpr wchar_t keyName[] = L"Software\\prodsweep-bench-product";

std::wstring Root(const wchar_t* name)
{
    wchar_t temp[MAX_PATH] = {};
    GetTempPathW(MAX_PATH, temp);
    return std::wstring(temp) + L"prodsweep-bench-" + name;
}

std::string Narrow(const std::wstring& text)
{
    std::string narrow;
    for (const wchar_t character : text)
        narrow += static_cast<char>(character); // the temporary folder's name is ASCII here
    return narrow;
}

void WriteDescriptor(const char* file, const std::string& sections)
{
    std::ofstream(file) << "<uninstall_information><version_list><v1/></version_list><v1><install_folder name=\"x\"/>"
                        << "<win_nt>" << sections << "</win_nt></v1></uninstall_information>";
}

std::string FolderSection(const std::wstring& root)
{
    return "<folders op_code=\"del_folder\"><entry name=\"" + Narrow(root) + "\"/></folders>";
}

std::string KeySection()
{
    return "<keys op_code=\"del_regkey\"><entry name=\"HKEY_CURRENT_USER\\" + Narrow(keyName) + "\"/></keys>";
}

void MakeKeys(int keys, int values)
{
    for (int i = 0; i < keys; ++i)
    {
        HKEY made = nullptr;
        RegCreateKeyExW(HKEY_CURRENT_USER, (std::wstring(keyName) + L"\\key" + std::to_wstring(i)).c_str(), 0, nullptr,
                        0, KEY_ALL_ACCESS, nullptr, &made, nullptr);
        const UniqueRegKey key(made);
        for (int v = 0; v < values; ++v)
            RegSetValueExW(key.get(), (L"value" + std::to_wstring(v)).c_str(), 0, REG_SZ,
                           reinterpret_cast<const BYTE*>(L"data"), 5 * sizeof(wchar_t));
    }
}

// A product of files in a tree, and of keys with 10 values each. keys may be 0.
struct Product
{
    int files;
    int keys;
    TreeShape shape;
};

void Make(const Product& product)
{
    const std::wstring root = Root(L"product");
    BareRemoveFolder(root);
    BareRemoveKey(keyName);
    MakeTree(root, product.files, product.shape);
    MakeKeys(product.keys, 10);
}

void Remove(const CheckList& staying)
{
    CProductUninstall removal(L"Product", L"product.xml", staying, nullptr);
    if (!removal.Uninstall())
        throw std::runtime_error("the removal failed");
}

void BareRemove()
{
    BareRemoveFolder(Root(L"product"));
    BareRemoveKey(keyName);
}

double Compare(Report& report, const std::string& name, const Product& product, const CheckList& staying, double limit)
{
    WriteDescriptor("product.xml", FolderSection(Root(L"product")) + (product.keys != 0 ? KeySection() : ""));
    const Pair pair = SideBySide(
        product.files >= 50'000 ? 1 : 5, [&] { Remove(staying); }, BareRemove, [&] { Make(product); });
    report.Compare("removal of a product", name, pair, "bare loop", limit);
    if (limit > 0)
        report.OutsideSystemCalls("removal of a product", pair);
    return pair.ours;
}

// What the log statements cost while log.dll is absent: the removal makes a few for each file.
void CompareLog(Report& report)
{
    const Product product{10'000, 0, bushyTree};
    const CheckList nobody;
    WriteDescriptor("product.xml", FolderSection(Root(L"product")));
    const Pair pair = SideBySide(
        3,
        [&] {
            LogAcquire();
            Remove(nobody);
            LogRelease();
        },
        [&] { Remove(nobody); }, [&] { Make(product); });
    report.Compare("removal of a product", "10,000 files, log bound but no log.dll", pair, "the same unbound");
    report.Figure("removal of a product", "share of time in the log", 100 * (1 - pair.peer / pair.ours), "%");
}

// Files that are open are put on the restart list, which is looked through for each.
double RemoveLocked(int files)
{
    const std::wstring root = Root(L"product");
    Make({files, 0, flatTree});
    WriteDescriptor("product.xml", FolderSection(root));
    std::vector<HANDLE> open;
    open.reserve(static_cast<std::size_t>(files));
    for (int i = 0; i < files; ++i)
        open.push_back(CreateFileW((root + L"\\file" + std::to_wstring(i) + L".dat").c_str(), GENERIC_READ, 0, nullptr,
                                   OPEN_EXISTING, 0, nullptr));
    const CheckList nobody;
    // What the system does with its own list is not ours to measure, and not to be left behind: the
    // list is made, and not handed over.
    class Recorded final : public CProductUninstall
    {
    public:
        using CProductUninstall::CProductUninstall;
        void Carry()
        {
            Process();
            PrepareCachedOperations();
            ExecuteCachedOperations();
        }
    };
    Recorded removal(L"Product", L"product.xml", nobody, nullptr);
    const double time = Nanoseconds([&] { removal.Carry(); });
    for (const HANDLE file : open)
        CloseHandle(file);
    BareRemoveFolder(root);
    return time;
}

} // namespace

void BenchRemoval(Report& report)
{
    CoInitialize(nullptr);
    const CSplitKeyPath tables;
    // 20 files a folder: 500 folders.
    const Product product{10'000, 2'000, bushyTree};
    const CheckList nobody;
    Compare(report, "10,000 files, 500 folders, 2,000 keys", product, nobody, 1.15);
    {
        const std::wstring other = Root(L"other");
        BareRemoveFolder(other);
        MakeTree(other, 10'000, bushyTree);
        WriteDescriptor("other.xml", FolderSection(other));
        CheckList staying;
        staying.emplace_back(L"other.xml");
        Compare(report, "the same, another product uses 10,000 files", product, staying, 0);
        BareRemoveFolder(other);
    }
    Compare(report, "2,000 keys", {0, 2'000, bushyTree}, nobody, 0);
    const double small = Compare(report, "10,000 files", {10'000, 0, bushyTree}, nobody, 0);
    const double large = Compare(report, "50,000 files", {50'000, 0, bushyTree}, nobody, 0);
    report.Figure("removal of a product", "growth, 5 times the files", large / small, "x");
    CompareLog(report);
    const double few = RemoveLocked(500);
    const double many = RemoveLocked(5'000);
    report.Figure("removal of locked files", "500 files", few / 1e6, "ms");
    report.Figure("removal of locked files", "5,000 files", many / 1e6, "ms");
    report.Figure("removal of locked files", "growth, 10 times the files", many / few, "x");
    BareRemove();
    CoUninitialize();
}

} // namespace prodsweep::bench
