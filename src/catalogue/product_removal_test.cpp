// What is removed, in which order, and what is protected, with products that are removed for real.
#include "catalogue/products.h"

#include "environment/log.h"
#include "support/callback_recorder.h"
#include "support/com_scope.h"
#include "support/import_patch.h"
#include "support/log_recorder.h"
#include "support/temp_tree.h"
#include "support/uninstall_entries.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace prodsweep {
namespace {

using test::CallbackRecorder;
using test::UninstallEntries;

constexpr const char* uninstall = "CProducts::Uninstall";

// "A;B;" as a list.
WideStringList Split(const std::wstring& text)
{
    WideStringList list;
    for (std::size_t begin = 0, end = 0; (end = text.find(L';', begin)) != std::wstring::npos; begin = end + 1)
        list.push_back(text.substr(begin, end - begin));
    return list;
}

// A catalogue whose products each have a descriptor that deletes "NAME.txt" and "shared.txt". The score
// of the section can't be reached: only the registry makes a product count as installed, for both kinds.
class ProductRemovalTest : public testing::Test
{
public:
    ~ProductRemovalTest() override { EXPECT_TRUE(tree.CanariesIntact()); }

protected:
    // installed: an entry of the machine's uninstall list speaks for it. entries: more for its descriptor.
    void Add(const std::wstring& name, bool installed, const std::string& entries = {})
    {
        const std::wstring entry = UninstallEntries::Unique(L"prodsweep-removal-" + name);
        if (installed)
            uninstallEntries.Add(entry);
        const std::string own = "<e name='" + test::Narrow(tree.AddFile(name + L".txt")) + "'/>";
        const std::string shared = "<e name='" + test::Narrow(tree.AddFile(L"shared.txt")) + "'/>";
        CProduct product;
        product.name = name;
        product.file = tree.AddFile(name + L".xml", FILE_ATTRIBUTE_NORMAL,
                                    "<uninstall_information><version_list><v/></version_list><v><win_nt>"
                                    "<s op_code='del_file' minimum_score='99'>" +
                                        own + shared + entries + "</s></win_nt></v></uninstall_information>");
        product.versions.resize(1);
        product.versions[0].keyPath = UninstallEntries::Path(entry);
        products.products.push_back(product);
    }
    // "A+B-": A is installed, B is not.
    void AddAll(const std::wstring& states)
    {
        for (std::size_t i = 0; i + 1 < states.size(); i += 2)
            Add(states.substr(i, 1), states[i + 1] == L'+');
    }
    bool Uninstall(const std::wstring& names, const std::wstring& forced, int kind)
    {
        return products.Uninstall(Split(names), Split(forced), kind, &restart, &CallbackRecorder::Record);
    }
    bool HasFileOf(const std::wstring& name) const { return test::Exists(tree.Path(name + L".txt")); }

    // The products whose removal began, in order.
    std::wstring Removed() const
    {
        std::wstring names;
        for (const CallbackRecorder::Call& call : callback.Calls())
            names += call.event == PRODSWEEP_EVENT_PRODUCT ? call.text + L";" : L"";
        return names;
    }
    // The products that were asked what they still use, by the log's heading.
    std::wstring Asked() const
    {
        const std::vector<test::LogRecord> records = log.Records();
        auto record = std::find_if(records.begin(), records.end(),
                                   [](const test::LogRecord& line) { return line.text == L"CHECK LIST : "; });
        if (record != records.end())
            ++record;
        std::wstring names;
        for (; record != records.end() && record->function == uninstall; ++record)
        {
            for (const CProduct& product : products.products)
                names += record->text == L"\"" + product.file + L"\"" ? product.name + L";" : L"";
        }
        return names;
    }

    const test::ComScope com;
    test::TempTree tree;
    UninstallEntries uninstallEntries;
    CProducts products;
    bool restart = true;
    const CallbackRecorder callback;
    test::LogRecorder log;
};

struct SelectionRow
{
    const char* name;
    int kind;
    bool execAll;
    std::wstring catalogue;
    std::wstring names;
    std::wstring forced;
    std::wstring removed;
    std::wstring asked;
};

class SelectionTest : public ProductRemovalTest, public testing::WithParamInterface<SelectionRow>
{};

TEST_P(SelectionTest, DecidesWhatGoesAndWhatIsProtected)
{
    const SelectionRow& row = GetParam();
    AddAll(row.catalogue);
    products.exec_all = row.execAll;

    EXPECT_TRUE(Uninstall(row.names, row.forced, row.kind));

    EXPECT_EQ(row.removed, Removed());
    EXPECT_EQ(row.asked, Asked());
    for (const CProduct& product : products.products)
        EXPECT_NE(row.removed.find(product.name) != std::wstring::npos, HasFileOf(product.name))
            << test::Narrow(product.name);
    // What all of them share goes with the last of them only.
    EXPECT_EQ(row.removed.empty() || !row.asked.empty(), HasFileOf(L"shared"));
    EXPECT_FALSE(restart);
    EXPECT_TRUE(log.Has(LogTrace, uninstall, L"<- true"));
}

constexpr int Own = ProductKindOwn;
constexpr int Other = ProductKindOther;

INSTANTIATE_TEST_SUITE_P(
    Rows, SelectionTest,
    testing::Values(SelectionRow{"OneOfTwo", Own, true, L"A+B+", L"A;", L"", L"A;", L"B;"},
                    SelectionRow{"AbsentOnesAreNotAsked", Own, true, L"A+B-C+D+", L"C;", L"", L"C;", L"A;D;"},
                    SelectionRow{"OrderOfTheNames", Own, true, L"A+B+C+", L"C;A;", L"", L"C;A;", L"B;"},
                    SelectionRow{"AllOfTwo", Own, true, L"A+B+C-", L"A;B;", L"", L"A;B;", L""},
                    SelectionRow{"LastOfTheFamily", Own, true, L"A-B+C-", L"B;", L"", L"B;A;C;", L""},
                    SelectionRow{"LastWithoutExecAll", Own, false, L"A-B+C-", L"B;", L"", L"B;", L""},
                    SelectionRow{"LastIgnoresForced", Own, false, L"A-B+C-", L"B;", L"A;", L"B;", L""},
                    SelectionRow{"LastAddsForcedOnce", Own, true, L"A-B+C-", L"B;", L"C;", L"B;A;C;", L""},
                    SelectionRow{"LastAsForcedToo", Own, true, L"A+B-", L"A;", L"A;", L"A;B;", L""},
                    SelectionRow{"LastBesideAnAbsentName", Own, true, L"A+B-", L"B;A;", L"", L"A;B;", L""},
                    SelectionRow{"LastNamedTwiceIsNoSingleOne", Own, true, L"A+B-", L"A;A;", L"", L"A;A;", L""},
                    SelectionRow{"LastForcedDoesNotWiden", Own, true, L"A+B-", L"", L"A;", L"A;", L""},
                    SelectionRow{"AbsentForcedBesideTheLast", Own, true, L"A+B-", L"", L"B;", L"B;", L"A;"},
                    SelectionRow{"ForcedBehindTheNames", Own, true, L"A+B+C-D+", L"B;", L"C;A;", L"B;C;A;", L"D;"},
                    SelectionRow{"NamedAndForcedGoesTwice", Own, true, L"A+B+", L"A;", L"A;", L"A;A;", L"B;"},
                    SelectionRow{"ForcedTwiceGoesTwice", Own, true, L"A+B+", L"", L"A;A;", L"A;A;", L"B;"},
                    SelectionRow{"NothingInstalledAndOneForced", Own, true, L"A-B-", L"", L"A;", L"A;", L""},
                    SelectionRow{"NothingInstalledForcedAndNamed", Own, true, L"A-B-", L"B;", L"A;", L"A;", L""},
                    SelectionRow{"NameNotInstalled", Own, true, L"A-B+", L"A;", L"", L"", L"B;"},
                    SelectionRow{"NameNotInTheCatalogue", Own, true, L"A+B+", L"X;B;", L"", L"B;", L"A;"},
                    SelectionRow{"ForcedNotInTheCatalogue", Own, true, L"A+B+", L"", L"X;A;", L"A;", L"B;"},
                    SelectionRow{"OnlyUnknownForced", Own, true, L"A+B+", L"", L"X;", L"", L"A;B;"},
                    SelectionRow{"NameOfOtherCase", Own, true, L"A+B+", L"a;B;", L"", L"B;", L"A;"},
                    SelectionRow{"EmptyName", Own, true, L"A+B+", L";B;", L";", L"B;", L"A;"},
                    SelectionRow{"OtherMakersOneOfTwo", Other, true, L"A+B+", L"A;", L"", L"A;", L""},
                    SelectionRow{"OtherMakersLast", Other, true, L"A+B-", L"A;", L"", L"A;", L""},
                    SelectionRow{"OtherMakersLastWithForced", Other, true, L"A+B-", L"A;", L"B;", L"A;B;", L""},
                    SelectionRow{"OtherMakersNamedAndForced", Other, false, L"A+B+", L"A;", L"A;", L"A;A;", L""},
                    SelectionRow{"UnknownKindForced", 3, true, L"A+B+", L"B;", L"A;", L"A;", L""}),
    [](const auto& row) { return row.param.name; });

struct NothingRow
{
    const char* name;
    std::wstring catalogue;
    std::wstring names;
    bool noName;
    bool noneInstalled;
};

class NothingToDoTest : public ProductRemovalTest, public testing::WithParamInterface<NothingRow>
{};

TEST_P(NothingToDoTest, SucceedsSaysWhyAndLeavesRestartAlone)
{
    const NothingRow& row = GetParam();
    AddAll(row.catalogue);
    for (const bool before : {true, false})
    {
        restart = before;
        log.Clear();

        EXPECT_TRUE(Uninstall(row.names, L"", ProductKindOwn));

        EXPECT_EQ(before, restart);
        EXPECT_TRUE(log.Has(LogTrace, uninstall, L"Nothing to uninstall"));
        EXPECT_EQ(row.noName, log.Count(LogTrace, uninstall,
                                        L"You try to uninstall zero installed products and zero force products") == 1);
        EXPECT_EQ(row.noneInstalled,
                  log.Count(LogTrace, uninstall,
                            L"There are zero installed products and you try to uninstall zero force products") == 1);
        EXPECT_EQ(0, log.Count(LogTrace, uninstall, L"UNINSTALL LIST : "));
        EXPECT_EQ(0, log.Count(LogTrace, uninstall, L"<- true"));
    }
    EXPECT_TRUE(callback.Calls().empty());
    EXPECT_TRUE(log.HasNoneAt(LogError));
}

INSTANTIATE_TEST_SUITE_P(Rows, NothingToDoTest,
                         testing::Values(NothingRow{"NoName", L"A+B+", L"", true, false},
                                         NothingRow{"NoneInstalled", L"A-B-", L"A;", false, true},
                                         NothingRow{"NeitherNameNorProduct", L"A-", L"", true, true},
                                         NothingRow{"EmptyCatalogue", L"", L"A;", false, true}),
                         [](const auto& row) { return row.param.name; });

TEST_F(ProductRemovalTest, SkippedNamesAreLoggedAndFailNothing)
{
    AddAll(L"A+B-C+");

    EXPECT_TRUE(Uninstall(L"B;X;", L"Y;", ProductKindOwn));

    EXPECT_TRUE(log.Has(LogError, uninstall, L"\"B\" is not installed"));
    EXPECT_TRUE(log.Has(LogError, uninstall, L"\"X\" is not installed"));
    EXPECT_TRUE(log.Has(LogError, uninstall, L"the uninstall xml file doesn't provide info for \"Y\""));
    EXPECT_EQ(L"", Removed());
    EXPECT_FALSE(restart) << "the run over no product was reached";
}

TEST_F(ProductRemovalTest, RunIsToldOfInOneBlockBeforeTheFirstProduct)
{
    AddAll(L"A+B+C+D+");

    EXPECT_TRUE(Uninstall(L"C;A;", L"", ProductKindOwn));

    const std::vector<test::LogRecord> records = log.Records();
    auto line = std::find_if(records.begin(), records.end(),
                             [](const test::LogRecord& record) { return record.text == L"UNINSTALL LIST : "; });
    for (const std::wstring& expected :
         {std::wstring(L"UNINSTALL LIST : "), std::wstring(L"\"C\", \"A\", "), std::wstring(L"CHECK LIST : "),
          L"\"" + tree.Path(L"B.xml") + L"\"", L"\"" + tree.Path(L"D.xml") + L"\""})
    {
        ASSERT_NE(records.end(), line);
        EXPECT_EQ(LogTrace, line->level);
        EXPECT_EQ(uninstall, line->function);
        EXPECT_EQ(test::Narrow(expected), test::Narrow(line->text));
        ++line;
    }
    EXPECT_EQ("CProductUninstall::Uninstall", line->function);
    EXPECT_EQ(L"<- true", records.back().text);
}

TEST_F(ProductRemovalTest, EmptyRunHasItsHeadingsAndAnEmptyLine)
{
    AddAll(L"A+B-");

    EXPECT_TRUE(Uninstall(L"B;", L"", ProductKindOther));

    const std::vector<test::LogRecord> records = log.Records();
    ASSERT_LE(4u, records.size());
    EXPECT_EQ(L"UNINSTALL LIST : ", records[records.size() - 4].text);
    EXPECT_EQ(L"", records[records.size() - 3].text);
    EXPECT_EQ(L"CHECK LIST : ", records[records.size() - 2].text);
    EXPECT_EQ(L"<- true", records.back().text);
}

TEST_F(ProductRemovalTest, EachProductOfARunSparesWhatStaysAndUses)
{
    AddAll(L"A+B+C+");

    EXPECT_TRUE(Uninstall(L"A;", L"C;", ProductKindOwn));

    EXPECT_TRUE(HasFileOf(L"shared"));
    EXPECT_FALSE(HasFileOf(L"A"));
    EXPECT_FALSE(HasFileOf(L"C"));
    EXPECT_TRUE(HasFileOf(L"B"));
}

// Deliberate: paths are compared as they are written. Only the case differs, and nothing is protected.
TEST_F(ProductRemovalTest, WhatAStayingProductNamesInOtherCaseIsNotSpared)
{
    AddAll(L"A+B+");
    const std::string shared = test::Narrow(tree.Path(L"SHARED.TXT"));
    ASSERT_TRUE(HasFileOf(L"SHARED")) << "both names are of one file";
    products.products[1].file = tree.AddFile(
        L"B.xml", FILE_ATTRIBUTE_NORMAL,
        "<uninstall_information><version_list><v/></version_list><v><win_nt><s op_code='del_file'><e name='" + shared +
            "'/></s></win_nt></v></uninstall_information>");

    EXPECT_TRUE(Uninstall(L"A;", L"", ProductKindOwn));

    EXPECT_EQ(L"B;", Asked());
    EXPECT_FALSE(HasFileOf(L"shared"));
    EXPECT_TRUE(HasFileOf(L"B"));
}

TEST_F(ProductRemovalTest, WhatSpeaksForAProductIsTheFirstOfItsName)
{
    // The second of the two is the installed one, and the first is the one whose descriptor runs.
    AddAll(L"A-A+B+");
    const std::wstring first = tree.AddFile(L"first.txt");
    products.products[0].file = tree.AddFile(
        L"first.xml", FILE_ATTRIBUTE_NORMAL,
        "<uninstall_information><version_list><v/></version_list><v><win_nt><s op_code='del_file'><e name='" +
            test::Narrow(first) + "'/></s></win_nt></v></uninstall_information>");
    products.products[0].versions.clear();

    EXPECT_TRUE(Uninstall(L"A;", L"", ProductKindOwn));

    EXPECT_EQ(L"A;", Removed());
    EXPECT_FALSE(test::Exists(first));
    EXPECT_TRUE(HasFileOf(L"A"));
    EXPECT_EQ(L"B;", Asked());
}

TEST_F(ProductRemovalTest, CatalogueStaysAsItIs)
{
    AddAll(L"A-B+C-");

    EXPECT_TRUE(Uninstall(L"B;", L"", ProductKindOwn));

    ASSERT_EQ(3u, products.products.size());
    for (std::size_t i = 0; i < 3; ++i)
    {
        EXPECT_EQ(std::wstring(1, static_cast<wchar_t>(L'A' + i)), products.products[i].name);
        EXPECT_EQ(tree.Path(products.products[i].name + L".xml"), products.products[i].file);
        EXPECT_EQ(1u, products.products[i].versions.size());
    }
}

TEST_F(ProductRemovalTest, ProductThatFailsDoesNotKeepTheOthers)
{
    AddAll(L"A+B+C+D+");
    DeleteFileW(tree.Path(L"B.xml").c_str());

    EXPECT_FALSE(Uninstall(L"A;B;C;", L"", ProductKindOwn));

    EXPECT_EQ(L"A;B;C;", Removed());
    EXPECT_FALSE(HasFileOf(L"A"));
    EXPECT_TRUE(HasFileOf(L"B"));
    EXPECT_FALSE(HasFileOf(L"C"));
    EXPECT_TRUE(HasFileOf(L"D"));
    EXPECT_TRUE(log.Has(LogTrace, uninstall, L"<- false"));
}

TEST_F(ProductRemovalTest, StayingProductWithoutADescriptorProtectsNothing)
{
    AddAll(L"A+B+");
    DeleteFileW(tree.Path(L"B.xml").c_str());

    EXPECT_TRUE(Uninstall(L"A;", L"", ProductKindOwn));

    EXPECT_EQ(L"B;", Asked());
    EXPECT_FALSE(HasFileOf(L"shared"));
}

TEST_F(ProductRemovalTest, NullCallbackIsAllowed)
{
    AddAll(L"A+B+");

    EXPECT_TRUE(products.Uninstall({L"A"}, {}, ProductKindOwn, &restart, nullptr));

    EXPECT_FALSE(HasFileOf(L"A"));
}

// A restart is asked for as soon as one product of the run does.

struct RestartRow
{
    const char* name;
    std::wstring names;
    bool restart;
};

class RestartTest : public ProductRemovalTest, public testing::WithParamInterface<RestartRow>
{};

TEST_P(RestartTest, IsAskedForWhenAnyProductDoes)
{
    Add(L"A", true);
    Add(L"B", true, "<e name='C:\\prodsweep-none.txt' restart_required='yes'/>");
    Add(L"C", true);
    for (const bool before : {true, false})
    {
        restart = before;
        EXPECT_TRUE(Uninstall(GetParam().names, L"", ProductKindOther));
        EXPECT_EQ(GetParam().restart, restart);
    }
}

INSTANTIATE_TEST_SUITE_P(Rows, RestartTest,
                         testing::Values(RestartRow{"None", L"A;C;", false}, RestartRow{"First", L"B;C;", true},
                                         RestartRow{"Last", L"A;B;", true}, RestartRow{"Middle", L"A;B;C;", true}),
                         [](const auto& row) { return row.param.name; });

BOOL WINAPI RefuseToMove(const wchar_t*, const wchar_t*, DWORD)
{
    SetLastError(ERROR_ACCESS_DENIED);
    return FALSE;
}

TEST_F(ProductRemovalTest, FailedProductAsksForARestartToo)
{
    // A file that can't be had goes to the restart, and the system refuses to note it.
    AddAll(L"A+B+");
    const HANDLE held =
        CreateFileW(tree.Path(L"A.txt").c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr);
    ASSERT_NE(INVALID_HANDLE_VALUE, held);
    const test::ImportPatch patch(nullptr, "MoveFileExW", RefuseToMove);
    restart = false;

    EXPECT_FALSE(Uninstall(L"A;B;", L"", ProductKindOwn));

    EXPECT_TRUE(restart);
    EXPECT_EQ(L"A;B;", Removed());
    CloseHandle(held);
}

// Everything that is installed.

struct AllInstalledRow
{
    const char* name;
    int kind;
    bool execAll;
    std::wstring catalogue;
    std::wstring removed;
};

class AllInstalledTest : public ProductRemovalTest, public testing::WithParamInterface<AllInstalledRow>
{};

TEST_P(AllInstalledTest, GoesWithoutProtectionAndALastOneWithAllOthers)
{
    AddAll(GetParam().catalogue);
    products.exec_all = GetParam().execAll;

    EXPECT_TRUE(products.UninstallAllInstalled(GetParam().kind, &restart, &CallbackRecorder::Record));

    EXPECT_EQ(GetParam().removed, Removed());
    EXPECT_EQ(L"", Asked());
    EXPECT_EQ(GetParam().removed.empty() && !products.products.empty(), HasFileOf(L"shared"));
    EXPECT_FALSE(restart) << "written also when there is no product to run";
    EXPECT_EQ(L"-> UninstallAllInstalled", log.Records().front().text);
    EXPECT_TRUE(log.Has(LogTrace, "CProducts::UninstallAllInstalled", L"-> UninstallAllInstalled"));
    EXPECT_TRUE(log.Has(LogTrace, uninstall, L"UNINSTALL LIST : "));
    EXPECT_TRUE(log.Has(LogTrace, uninstall, L"CHECK LIST : "));
    EXPECT_TRUE(log.Has(LogTrace, "CProducts::UninstallAllInstalled", L"<- UninstallAllInstalled true"));
}

INSTANTIATE_TEST_SUITE_P(Rows, AllInstalledTest,
                         testing::Values(AllInstalledRow{"NoProduct", Own, true, L"", L""},
                                         AllInstalledRow{"NoneInstalled", Own, true, L"A-B-", L""},
                                         AllInstalledRow{"TwoOfThree", Own, true, L"A+B-C+", L"A;C;"},
                                         AllInstalledRow{"Last", Own, true, L"A-B+C-", L"B;A;C;"},
                                         AllInstalledRow{"LastWithoutExecAll", Own, false, L"A-B+C-", L"B;A;C;"},
                                         AllInstalledRow{"OtherMakersTwoOfThree", Other, true, L"A+B-C+", L"A;C;"},
                                         AllInstalledRow{"OtherMakersLast", Other, true, L"A-B+C-", L"B;A;C;"},
                                         AllInstalledRow{"OtherMakersLastWithoutExecAll", Other, false, L"A-B+",
                                                         L"B;A;"},
                                         AllInstalledRow{"UnknownKind", 3, true, L"A+B-", L""}),
                         [](const auto& row) { return row.param.name; });

TEST_F(ProductRemovalTest, OneOfAllInstalledThatFailsIsToldOf)
{
    AddAll(L"A+B+");
    DeleteFileW(tree.Path(L"A.xml").c_str());

    EXPECT_FALSE(products.UninstallAllInstalled(ProductKindOwn, &restart, nullptr));

    EXPECT_FALSE(HasFileOf(L"B"));
    EXPECT_TRUE(log.Has(LogTrace, "CProducts::UninstallAllInstalled", L"<- UninstallAllInstalled false"));
}

// Everything of the catalogue.

TEST_F(ProductRemovalTest, ForceAllRunsTheWholeCatalogueInItsOrderForAnyKind)
{
    AddAll(L"B+A-C+");
    for (const int kind : {ProductKindOwn, ProductKindOther, 3})
    {
        callback.Calls().clear();
        restart = true;

        EXPECT_TRUE(products.UninstallForceAll(kind, &restart, &CallbackRecorder::Record));

        EXPECT_EQ(L"B;A;C;", Removed());
        EXPECT_FALSE(restart);
    }
    for (const wchar_t* name : {L"A", L"B", L"C", L"shared"})
        EXPECT_FALSE(HasFileOf(name));
    EXPECT_EQ(L"", Asked());
    EXPECT_EQ(3u, products.products.size());
    EXPECT_EQ(0, log.Count(LogTrace, "CProduct::IsInstalled", L"\"A\" is installed : false")) << "nobody is asked";
    EXPECT_TRUE(log.Has(LogTrace, "CProducts::UninstallForceAll", L"-> UninstallForceAll"));
    EXPECT_TRUE(log.Has(LogTrace, "CProducts::UninstallForceAll", L"<- UninstallForceAll true"));
}

TEST_F(ProductRemovalTest, ForceAllOfAnEmptyCatalogueRunsOverNothing)
{
    EXPECT_TRUE(products.UninstallForceAll(ProductKindOwn, &restart, &CallbackRecorder::Record));

    EXPECT_FALSE(restart);
    EXPECT_TRUE(callback.Calls().empty());
    EXPECT_TRUE(log.Has(LogTrace, uninstall, L"UNINSTALL LIST : "));
}

TEST_F(ProductRemovalTest, OneOfForceAllThatFailsIsToldOf)
{
    AddAll(L"A-B-");
    tree.AddFile(L"A.xml", FILE_ATTRIBUTE_NORMAL, "<uninstall_information>");

    EXPECT_FALSE(products.UninstallForceAll(ProductKindOwn, &restart, nullptr));

    EXPECT_FALSE(HasFileOf(L"B"));
    EXPECT_TRUE(log.Has(LogTrace, "CProducts::UninstallForceAll", L"<- UninstallForceAll false"));
}

// A callback that throws is one that returned.

void Throw(int32_t, int32_t, const void*) { throw 7; }

TEST_F(ProductRemovalTest, CallbackThatThrowsBreaksNoRemoval)
{
    AddAll(L"A+B+C+");

    EXPECT_TRUE(products.Uninstall({L"A", L"B"}, {}, ProductKindOwn, &restart, &Throw));

    EXPECT_FALSE(HasFileOf(L"A"));
    EXPECT_FALSE(HasFileOf(L"B"));
    EXPECT_TRUE(HasFileOf(L"C"));
    EXPECT_TRUE(log.Has(LogTrace, uninstall, L"<- true"));
}

TEST_F(ProductRemovalTest, CallbackThatThrowsBreaksNoLoad)
{
    const std::wstring path = tree.AddFile(L"products.xml", FILE_ATTRIBUTE_NORMAL,
                                           "<uninstall_information><product name='A' file='A.xml'/>"
                                           "</uninstall_information>");

    EXPECT_TRUE(products.Load(path.c_str(), ProductKindOwn, &Throw));
    EXPECT_EQ(1u, products.products.size());
    EXPECT_FALSE(products.Load(tree.Path(L"none.xml").c_str(), ProductKindOwn, &Throw));
}

} // namespace
} // namespace prodsweep
