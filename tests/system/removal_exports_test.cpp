// What holds for the removal exports alike, and what the three that take no array do.
#include "support/com_scope.h"
#include "support/handle_count.h"
#include "support/import_patch.h"
#include "support/system_answers.h"
#include "system/catalogue_text.h"
#include "system/com_calls.h"
#include "system/com_rows.h"
#include "system/ole_accounts.h"
#include "system/removal.h"
#include "system/removal_fixture.h"

#include <gmock/gmock.h>

#include <optional>

namespace prodsweep::test {
namespace {

using testing::ElementsAre;
using testing::ElementsAreArray;

struct EachRemovalTest : RemovalTest, testing::WithParamInterface<Removal>
{
    bool Call(int kind) { return GetParam().call(library, kind, &restart, &CallbackRecorder::Record); }
    // Calls with both values of restart beforehand; expects a false that leaves it alone, but for the list.
    void ExpectFailure(int kind)
    {
        for (const bool before : {false, true})
        {
            log.Clear();
            restart = before;
            EXPECT_FALSE(Call(kind));
            EXPECT_EQ(GetParam().reportsRestart && before, restart);
        }
    }
    // The lines of the export between its entry and its exit.
    std::vector<std::wstring> LinesOfItsOwn() const
    {
        std::vector<std::wstring> lines = Lines(GetParam().name);
        std::erase_if(lines, [](const std::wstring& line) {
            return line.starts_with(L"10 ->") || line.starts_with(L"10 Uninstall ");
        });
        return lines;
    }
    [[nodiscard]] static bool TakesNames() { return GetParam().call == removals[0].call || TakesOneName(); }
    [[nodiscard]] static bool TakesOneName() { return GetParam().call == removals[1].call; }
};
INSTANTIATE_TEST_SUITE_P(All, EachRemovalTest, testing::ValuesIn(removals), RemovalName);

TEST_P(EachRemovalTest, RemovesForReal)
{
    for (const int kind : {Own, Other})
    {
        products.Write(kind, L"A+B+");

        EXPECT_TRUE(Call(kind));

        EXPECT_FALSE(products.Has(kind, L"A"));
        EXPECT_EQ(TakesNames(), products.Has(kind, L"B"));
        EXPECT_EQ(TakesNames() && kind == Own, products.HasShared(kind)) << "only names leave somebody to protect";
        EXPECT_FALSE(restart);
    }
}

TEST_P(EachRemovalTest, OneRemovalAfterTheOtherStartsAfresh)
{
    for (int round = 0; round < 3; ++round)
    {
        for (const int kind : {Own, Other})
        {
            products.Write(kind, L"A+B-");
            EXPECT_TRUE(Call(kind));
            EXPECT_FALSE(products.Has(kind, L"A"));
            // What is in the catalogue, and is not there any more, is no failure.
            EXPECT_TRUE(Call(kind));
        }
    }
}

TEST_P(EachRemovalTest, RestartIsToldOf)
{
    products.Write(Own, L"A+B+", {}, L"restart_required='yes'");
    restart = false;

    EXPECT_TRUE(Call(Own));

    EXPECT_EQ(GetParam().reportsRestart, restart);
    EXPECT_TRUE(GetParam().call(library, Own, nullptr, nullptr)) << "nobody need want to know";
}

TEST_P(EachRemovalTest, MissingCatalogueFailsWithItsPath)
{
    for (const int kind : {Own, Other})
    {
        const std::wstring path = library.Path(RemovableProducts::Catalogue(kind));
        callback.Calls().clear();

        ExpectFailure(kind);

        const std::wstring which = TakesNames() && !TakesOneName() ? (kind == Own ? L"HQ " : L"EXT ") : L"";
        std::vector<std::wstring> expected{
            (L"4 load products " + which).append(L"\"").append(path).append(L"\" failed")};
        if (TakesNames())
            expected.emplace_back(L"10 <- false");
        EXPECT_THAT(LinesOfItsOwn(), ElementsAreArray(expected));
        EXPECT_THAT(callback.Calls(), ElementsAre(CatalogueEvent(1), CatalogueEvent(1)));
    }
}

TEST_P(EachRemovalTest, CatalogueThatVanishesBetweenTwoCallsFailsTheSecond)
{
    products.Write(Own, L"A+B+");
    EXPECT_TRUE(Call(Own));
    ASSERT_TRUE(DeleteFileW(library.Path(L"products.xml").c_str()));

    ExpectFailure(Own);
}

TEST_P(EachRemovalTest, DamagedCatalogueRemovesNothing)
{
    products.Write(Own, L"A+B+");
    for (const char* content :
         {"", "<uninstall_information>", "<other/>",
          "<uninstall_information><product name='A'/></uninstall_information>",
          "<uninstall_information><product name='A' file='A.xml'/><product/></uninstall_information>"})
    {
        library.Write(L"products.xml", content);

        ExpectFailure(Own);

        EXPECT_TRUE(products.Has(Own, L"A")) << content;
    }
}

TEST_P(EachRemovalTest, UnknownFolderFailsBeforeAnythingIsRead)
{
    products.Write(Own, L"A+B+");
    const ImportPatch patch(library.Module(), "GetModuleFileNameW", FailToNameTheModule);
    // A list has its kinds in its entries; elsewhere the folder comes before the kind.
    constexpr int noKind = 9;
    for (const int kind : {Own, TakesNames() && !TakesOneName() ? Own : noKind})
    {
        ExpectFailure(kind);
        EXPECT_THAT(LinesOfItsOwn(), ElementsAre(L"4 GetCurrentPath failed"));
    }

    EXPECT_TRUE(callback.Calls().empty());
    EXPECT_TRUE(products.Has(Own, L"A"));
}

TEST_P(EachRemovalTest, MissingOrDamagedDescriptorFailsTheCallAndSparesItsProduct)
{
    for (const char* content : {static_cast<const char*>(nullptr), "", "<uninstall_information>", "<other/>"})
    {
        products.Write(Own, L"A+B+");
        const std::wstring descriptor = RemovableProducts::Descriptor(Own, L"A");
        if (content != nullptr)
            library.Write(descriptor, content);
        else
            ASSERT_TRUE(DeleteFileW(library.Path(descriptor).c_str()));
        restart = true;

        EXPECT_FALSE(Call(Own));

        EXPECT_TRUE(products.Has(Own, L"A"));
        EXPECT_EQ(TakesNames(), products.Has(Own, L"B")) << "the others of the run are tried";
        EXPECT_FALSE(restart);
    }
}

TEST_P(EachRemovalTest, NoHandleStaysOpen)
{
    products.Write(Own, L"A+B+");
    OnFreshThread(ComState::SingleThreaded, [&] {
        EXPECT_TRUE(Call(Own));
        products.Write(Own, L"A+B+");
        const HandleCount handles;

        EXPECT_TRUE(Call(Own));
        EXPECT_TRUE(Call(Own));

        EXPECT_TRUE(handles.Unchanged());
    });
}

// COM on the caller's thread.

const EndRow removalEnds[] = {{"Success", End::Success},
                              {"NoCatalogue", End::NoCatalogue},
                              {"NoFolder", End::NoFolder},
                              {"Exception", End::Exception}};

struct RemovalComTest : RemovalTest, testing::WithParamInterface<std::tuple<Removal, ComThread, EndRow>>
{};
INSTANTIATE_TEST_SUITE_P(All, RemovalComTest,
                         testing::Combine(testing::ValuesIn(removals), testing::ValuesIn(comThreads),
                                          testing::ValuesIn(removalEnds)),
                         [](const auto& row) {
                             return std::string(std::get<0>(row.param).name) + std::get<1>(row.param).label +
                                    std::get<2>(row.param).label;
                         });

TEST_P(RemovalComTest, OnlyAnSOkIsTakenBack)
{
    const auto& [removal, thread, end] = GetParam();
    if (end.end != End::NoCatalogue)
        products.Write(Own, L"A+B+");
    OleAccounts accounts(library.Module());
    std::optional<ImportPatch> patch;
    if (end.end == End::NoFolder)
        patch.emplace(library.Module(), "GetModuleFileNameW", FailToNameTheModule);
    if (end.end == End::Exception)
        accounts.FailAt(OleAccounts::AllocString, 2); // an attribute's name; the first is the file's
    const ComCalls com(library.Module());
    bool succeeded = false;

    OnFreshThread(thread.before, [&] { succeeded = removal.call(library, Own, &restart, nullptr); });

    EXPECT_EQ(end.end == End::Success, succeeded);
    EXPECT_EQ(1, ComCalls::Initialised());
    EXPECT_EQ(thread.uninitialised, ComCalls::Uninitialised());
}

// UninstallProduct.

struct RemovalOneTest : RemovalTest
{
    bool Call(const wchar_t* name, int kind, int force = 0)
    {
        ProductEntry entry{};
        entry.Name = SysAllocString(name);
        entry.Kind = kind;
        entry.Force = force;
        entry.File = reinterpret_cast<BSTR>(2);
        entry.Guids = reinterpret_cast<SAFEARRAY*>(2);
        const bool result = library.UninstallProduct(&entry, &restart, &CallbackRecorder::Record);
        SysFreeString(entry.Name);
        return result;
    }
    std::vector<std::wstring> Lines() const { return RemovalTest::Lines("UninstallProduct"); }
};

TEST_F(RemovalOneTest, IsToldOfInThreeLines)
{
    products.Write(Own, L"A+B+");

    EXPECT_TRUE(Call(L"A", Own));

    EXPECT_THAT(Lines(), ElementsAre(L"10 ->", L"10 Uninstall \"A\"", L"10 <- true"));
}

TEST_F(RemovalOneTest, ForceRemovesWhatIsNotInstalled)
{
    for (const int kind : {Own, Other})
    {
        products.Write(kind, L"A-B-");
        EXPECT_TRUE(Call(L"A", kind, 0x100));
        EXPECT_FALSE(products.Has(kind, L"A"));
        EXPECT_TRUE(products.Has(kind, L"B"));
    }
}

TEST_F(RemovalOneTest, WithoutForceNothingIsToBeDoneAndRestartIsLeftAlone)
{
    products.Write(Own, L"A-B-");
    for (const bool before : {true, false})
    {
        restart = before;
        EXPECT_TRUE(Call(L"A", Own));
        EXPECT_EQ(before, restart);
    }
    EXPECT_TRUE(products.Has(Own, L"A"));
    EXPECT_TRUE(log.Has(LogTrace, "CProducts::Uninstall", L"Nothing to uninstall"));
}

TEST_F(RemovalOneTest, NameNotInstalledBesideOneThatIsRunsOverNothingAndWritesRestart)
{
    products.Write(Own, L"A+B-");
    for (const wchar_t* name : {L"B", L"X", static_cast<const wchar_t*>(nullptr)})
    {
        restart = true;
        EXPECT_TRUE(Call(name, Own));
        EXPECT_FALSE(restart);
    }
    EXPECT_EQ(L"", Removed());
    EXPECT_TRUE(log.Has(LogTrace, "UninstallProduct", L"Uninstall \"\"")) << "a null name is an empty one";
}

TEST_F(RemovalOneTest, ForcedNameThatNobodyKnowsIsNoFailure)
{
    products.Write(Own, L"A+B-");

    EXPECT_TRUE(Call(L"X", Own, 1));

    EXPECT_FALSE(restart);
    EXPECT_EQ(L"", Removed());
}

TEST_F(RemovalOneTest, UnknownKindFailsBeforeAnythingIsRead)
{
    for (const int kind : {0, 3, -1})
    {
        log.Clear();
        EXPECT_FALSE(Call(L"A", kind, 1));
        EXPECT_TRUE(restart);
        EXPECT_THAT(Lines(),
                    ElementsAre(L"10 ->", L"10 Uninstall \"A\"", L"4 Unknown unistall type " + std::to_wstring(kind)));
    }
    EXPECT_TRUE(callback.Calls().empty());
}

TEST_F(RemovalOneTest, NullProductIsAFalse)
{
    EXPECT_FALSE(library.UninstallProduct(nullptr, &restart, nullptr));
    EXPECT_TRUE(restart);
}

// The exports of a whole catalogue.

struct CatalogueRemovalTest : RemovalTest, testing::WithParamInterface<Removal>
{};
INSTANTIATE_TEST_SUITE_P(All, CatalogueRemovalTest, testing::Values(removals[2], removals[3]), RemovalName);

TEST_P(CatalogueRemovalTest, UnknownKindFailsBeforeAnythingIsRead)
{
    for (const int kind : {0, 3, -1})
    {
        log.Clear();
        EXPECT_FALSE(GetParam().call(library, kind, &restart, &CallbackRecorder::Record));
        EXPECT_TRUE(restart);
        EXPECT_THAT(Lines(GetParam().name), ElementsAre(L"4 Unknown unistall type " + std::to_wstring(kind)));
    }
    EXPECT_TRUE(callback.Calls().empty());
}

TEST_P(CatalogueRemovalTest, HasNoTraceOfItsOwn)
{
    products.Write(Own, L"A+B+");

    EXPECT_TRUE(GetParam().call(library, Own, &restart, nullptr));

    EXPECT_TRUE(Lines(GetParam().name).empty());
    const std::string narrow = GetParam().name;
    const std::wstring name(narrow.begin(), narrow.end());
    EXPECT_THAT(Lines("CProducts::" + narrow), ElementsAre(L"10 -> " + name, L"10 <- " + name + L" true"));
}

TEST_P(CatalogueRemovalTest, EmptyCatalogueRunsOverNothingAndWritesRestart)
{
    library.WriteOwn(L"");

    EXPECT_TRUE(GetParam().call(library, Own, &restart, nullptr));

    EXPECT_FALSE(restart);
}

struct CatalogueRow
{
    const char* name;
    int kind;
    std::wstring states;
    std::wstring elements;
    std::wstring allInstalled; // what UninstallAllInstalled removes
    std::wstring forceAll;
};
struct WholeCatalogueTest : RemovalTest, testing::WithParamInterface<CatalogueRow>
{};
INSTANTIATE_TEST_SUITE_P(Rows, WholeCatalogueTest,
                         testing::Values(CatalogueRow{"Own", Own, L"A+B-C+", L"", L"A;C;", L"A;B;C;"},
                                         CatalogueRow{"OwnLast", Own, L"A-B+C-", L"", L"B;A;C;", L"A;B;C;"},
                                         CatalogueRow{"OwnLastForbidden", Own, L"A-B+", L"<exec_all>false</exec_all>",
                                                      L"B;A;", L"A;B;"},
                                         CatalogueRow{"OwnNone", Own, L"A-B-", L"", L"", L"A;B;"},
                                         CatalogueRow{"OtherLast", Other, L"A-B+C-", L"", L"B;A;C;", L"A;B;C;"},
                                         CatalogueRow{"Other", Other, L"A+B+C-", L"", L"A;B;", L"A;B;C;"}),
                         [](const auto& row) { return row.param.name; });

TEST_P(WholeCatalogueTest, InstalledOnesOrAllOfThemGo)
{
    const CatalogueRow& row = GetParam();
    products.Write(row.kind, row.states, row.elements);

    EXPECT_TRUE(library.UninstallAllInstalled(row.kind, &restart, &CallbackRecorder::Record));
    EXPECT_EQ(row.allInstalled, Removed());
    EXPECT_FALSE(restart);

    callback.Calls().clear();
    restart = true;
    EXPECT_TRUE(library.UninstallForceAll(row.kind, &restart, &CallbackRecorder::Record));
    EXPECT_EQ(row.forceAll, Removed());
    EXPECT_FALSE(restart);
    EXPECT_FALSE(products.HasShared(row.kind));
}

} // namespace
} // namespace prodsweep::test
