// UninstallProducts: what a caller's array selects, in which order things are told, and what comes back.
#include "support/import_patch.h"
#include "support/system_answers.h"
#include "system/input_array.h"
#include "system/ole_accounts.h"
#include "system/removal_fixture.h"

#include <gmock/gmock.h>

namespace prodsweep::test {
namespace {

using testing::ElementsAre;

struct RemovalListTest : RemovalTest
{
    bool Call(const InputArray& array)
    {
        const bool result = library.UninstallProducts(array.Get(), &restart, &CallbackRecorder::Record);
        EXPECT_TRUE(array.Unchanged());
        EXPECT_FALSE(restart) << "never a restart from this export";
        return result;
    }
    std::vector<std::wstring> Lines() const { return RemovalTest::Lines("UninstallProducts"); }
    // The line of a catalogue that did not load.
    std::wstring NotLoaded(const wchar_t* kind, const wchar_t* relative) const
    {
        return std::wstring(L"4 load products ") + kind + L" \"" + library.Path(relative) + L"\" failed";
    }
};

TEST_F(RemovalListTest, OwnProductGoesAndWhatItSharesStays)
{
    products.Write(Own, L"A+B+");

    EXPECT_TRUE(Call({{L"A", Own}}));

    EXPECT_FALSE(products.Has(Own, L"A"));
    EXPECT_TRUE(products.Has(Own, L"B"));
    EXPECT_TRUE(products.HasShared(Own));
    EXPECT_THAT(Lines(), ElementsAre(L"10 ->", L"10 Uninstall : \"\"HQ : A\" \"", L"10 <- true"));
}

TEST_F(RemovalListTest, OtherMakersProductsAloneGetTheRightPath)
{
    products.Write(Other, L"A+B+");

    EXPECT_TRUE(Call({{L"A", Other}}));

    EXPECT_FALSE(products.Has(Other, L"A"));
    EXPECT_TRUE(products.Has(Other, L"B"));
    EXPECT_FALSE(products.HasShared(Other)) << "what other makers' products share is not protected";
    EXPECT_THAT(Lines(), ElementsAre(L"10 ->", L"10 Uninstall : \"\"EXT : A\" \"", L"10 <- true"));
    EXPECT_TRUE(log.Has(LogTrace, "CProducts::Load", L"->file : \"" + library.Path(L"detection.xml") + L"\""));
}

TEST_F(RemovalListTest, BothKindsTogetherRemoveTheFirstAndLoseThePathOfTheSecond)
{
    products.Write(Own, L"A+B+");
    products.Write(Other, L"A+B+");

    EXPECT_FALSE(Call({{L"B", Other}, {L"A", Own}, {L"A", Other, 1}}));

    EXPECT_FALSE(products.Has(Own, L"A"));
    EXPECT_TRUE(products.Has(Other, L"A"));
    EXPECT_TRUE(products.Has(Other, L"B"));
    EXPECT_EQ(L"A;", Removed());
    EXPECT_THAT(Lines(), ElementsAre(L"10 ->", L"10 Uninstall : \"\"EXT : B\" \"HQ : A\" \"EXT : A force\" \"",
                                     NotLoaded(L"EXT", L"products.xml\\detection.xml"), L"10 <- false"));
    EXPECT_EQ(CatalogueEvent(PRODSWEEP_LOAD_NOT_READABLE), callback.Calls().back());
}

TEST_F(RemovalListTest, UnknownKindStandsInTheLogLineAndIsDropped)
{
    products.Write(Own, L"A+B+");
    products.Write(Other, L"A+B+");

    EXPECT_TRUE(Call({{L"A", 3}, {L"B", 0, 1}, {L"A", -1, 1}}));

    EXPECT_TRUE(callback.Calls().empty()) << "no catalogue is read";
    EXPECT_THAT(Lines(), ElementsAre(L"10 ->", L"10 Uninstall : \"\"EXT : A\" \"EXT : B force\" \"EXT : A force\" \"",
                                     L"10 <- true"));
}

TEST_F(RemovalListTest, UnknownKindBesideAKnownOneDoesNotDisturb)
{
    products.Write(Own, L"A+B+");

    EXPECT_TRUE(Call({{L"B", 3}, {L"A", Own}}));

    EXPECT_EQ(L"A;", Removed());
}

TEST_F(RemovalListTest, EmptyArraySelectsNothing)
{
    for (const ULONG elementSize : {40u, 8u})
    {
        log.Clear();
        restart = true;
        EXPECT_TRUE(Call({{}, elementSize, 0}));
        EXPECT_THAT(Lines(), ElementsAre(L"10 ->", L"10 Uninstall : \"\"", L"10 <- true"));
    }
    EXPECT_TRUE(callback.Calls().empty());
}

TEST_F(RemovalListTest, ForcedProductNeedNotBeInstalled)
{
    products.Write(Own, L"A-B+C-");

    EXPECT_TRUE(Call({{L"A", Own, 1}, {L"C", Own}}));

    EXPECT_EQ(L"A;", Removed());
    EXPECT_FALSE(products.Has(Own, L"A"));
    EXPECT_TRUE(products.Has(Own, L"C"));
    EXPECT_TRUE(log.Has(LogError, "CProducts::Uninstall", L"\"C\" is not installed"));
}

TEST_F(RemovalListTest, PlainNamesGoBeforeForcedOnesEachInTheirOrder)
{
    products.Write(Own, L"A+B+C-D+E+");

    EXPECT_TRUE(Call({{L"C", Own, 1}, {L"D", Own}, {L"B", Own, -1}, {L"A", Own}}));

    EXPECT_EQ(L"D;A;C;B;", Removed());
}

TEST_F(RemovalListTest, LastOfTheFamilyTakesTheOthersAlong)
{
    products.Write(Own, L"A-B+C-");

    EXPECT_TRUE(Call({{L"B", Own}}));

    EXPECT_EQ(L"B;A;C;", Removed());
    EXPECT_FALSE(products.HasShared(Own));
}

TEST_F(RemovalListTest, CatalogueMayForbidToTakeTheOthersAlong)
{
    products.Write(Own, L"A-B+C-", L"<exec_all>false</exec_all>");

    EXPECT_TRUE(Call({{L"B", Own}, {L"C", Own, 1}}));

    EXPECT_EQ(L"B;", Removed()) << "and what is forced is not looked at";
}

TEST_F(RemovalListTest, UnknownAndNullNamesAreSkipped)
{
    products.Write(Own, L"A+B+");

    EXPECT_TRUE(Call({{nullptr, Own}, {nullptr, Own, 1}, {L"X", Own}, {L"Y", Own, 1}, {L"a", Own}, {L"A", Own}}));

    EXPECT_EQ(L"A;", Removed());
    EXPECT_TRUE(log.Has(LogError, "CProducts::Uninstall", L"\"\" is not installed"));
    EXPECT_TRUE(log.Has(LogError, "CProducts::Uninstall", L"the uninstall xml file doesn't provide info for \"\""));
    EXPECT_TRUE(log.Has(LogError, "CProducts::Uninstall", L"\"X\" is not installed"));
    EXPECT_TRUE(log.Has(LogError, "CProducts::Uninstall", L"the uninstall xml file doesn't provide info for \"Y\""));
    EXPECT_TRUE(log.Has(LogError, "CProducts::Uninstall", L"\"a\" is not installed"));
}

TEST_F(RemovalListTest, RestartIsNotToldOfEvenIfAskedFor)
{
    products.Write(Own, L"A+B+", {}, L"restart_required='yes'");
    for (const bool before : {true, false})
    {
        restart = before;
        EXPECT_TRUE(Call({{L"A", Own}}));
    }
    EXPECT_TRUE(log.Has(LogTrace, "CProductUninstall::ExecOperation", L"RESTART REQUIRED"));
    EXPECT_TRUE(library.UninstallProducts(InputArray{{L"B", Own}}.Get(), nullptr, nullptr)) << "nor need it be taken";
    EXPECT_FALSE(products.Has(Own, L"B"));
}

TEST_F(RemovalListTest, FirstCatalogueMissingFailsTheCallAndTheSecondIsStillLookedFor)
{
    products.Write(Other, L"A+");

    EXPECT_FALSE(Call({{L"A", Own}, {L"A", Other}}));

    EXPECT_THAT(Lines(),
                ElementsAre(L"10 ->", L"10 Uninstall : \"\"HQ : A\" \"EXT : A\" \"", NotLoaded(L"HQ", L"products.xml"),
                            NotLoaded(L"EXT", L"products.xml\\detection.xml"), L"10 <- false"));
    EXPECT_TRUE(products.Has(Other, L"A"));
}

TEST_F(RemovalListTest, SecondCatalogueThatLoadsAllTheSameIsNotRunAfterAFailure)
{
    // The joined path leads somewhere only where the first catalogue is a folder, and so can't be read.
    products.Write(Other, L"A+");
    library.Write(L"products.xml\\detection.xml", "");
    ASSERT_TRUE(
        CopyFileW(library.Path(L"detection.xml").c_str(), library.Path(L"products.xml\\detection.xml").c_str(), FALSE));

    EXPECT_FALSE(Call({{L"A", Own}, {L"A", Other}}));

    EXPECT_EQ(CatalogueEvent(PRODSWEEP_LOAD_DONE), callback.Calls().back());
    EXPECT_THAT(Lines(), ElementsAre(L"10 ->", L"10 Uninstall : \"\"HQ : A\" \"EXT : A\" \"",
                                     NotLoaded(L"HQ", L"products.xml"), L"10 <- false"));
    EXPECT_TRUE(products.Has(Other, L"A"));
}

TEST_F(RemovalListTest, SecondCatalogueMissingFailsTheCall)
{
    EXPECT_FALSE(Call({{L"A", Other, 1}}));

    EXPECT_THAT(Lines(), ElementsAre(L"10 ->", L"10 Uninstall : \"\"EXT : A force\" \"",
                                     NotLoaded(L"EXT", L"detection.xml"), L"10 <- false"));
}

TEST_F(RemovalListTest, RemovalThatFailsFailsTheCallAndTheOthersAreTried)
{
    for (const int kind : {Own, Other})
    {
        products.Write(kind, L"A+B+C+");
        ASSERT_TRUE(DeleteFileW(library.Path(RemovableProducts::Descriptor(kind, L"A")).c_str()));
        log.Clear();
        restart = true;

        EXPECT_FALSE(Call({{L"A", kind}, {L"B", kind}}));

        EXPECT_TRUE(products.Has(kind, L"A"));
        EXPECT_FALSE(products.Has(kind, L"B"));
        EXPECT_EQ(L"10 <- false", Lines().back());
    }
}

// Arrays that are none of ours.

struct ShapeRow
{
    const char* name;
    ULONG elementSize;
    LONG first;
};
struct RemovalShapeTest : RemovalListTest, testing::WithParamInterface<ShapeRow>
{};
INSTANTIATE_TEST_SUITE_P(Shapes, RemovalShapeTest,
                         testing::Values(ShapeRow{"Texts", 8, 0}, ShapeRow{"SmallerElements", 39, 0},
                                         ShapeRow{"LargerElements", 48, 0}, ShapeRow{"FromOne", 40, 1},
                                         ShapeRow{"FromMinusOne", 40, -1}),
                         [](const auto& row) { return row.param.name; });

TEST_P(RemovalShapeTest, IsRefusedUnreadAndUnlocked)
{
    products.Write(Own, L"A+B+");

    EXPECT_FALSE(Call({{{L"A", Own}, {L"B", Own}}, GetParam().elementSize, GetParam().first}));

    EXPECT_TRUE(callback.Calls().empty());
    EXPECT_THAT(Lines(), ElementsAre(L"10 ->", L"4 the array does not hold product entries from index 0"));
}

TEST_F(RemovalListTest, NullArrayIsRefused)
{
    EXPECT_FALSE(library.UninstallProducts(nullptr, &restart, nullptr));

    EXPECT_FALSE(restart);
    EXPECT_THAT(Lines(), ElementsAre(L"10 ->", L"4 SafeArrayAccessData failed 0x80070057"));
}

// Steps that fail.

TEST_F(RemovalListTest, ArrayThatCannotBeLockedEndsTheCallAtOnce)
{
    products.Write(Own, L"A+B+");
    const InputArray array{{L"A", Own}};
    OleAccounts accounts(library.Module());
    accounts.FailAt(OleAccounts::AccessData, 1);

    EXPECT_FALSE(Call(array));

    EXPECT_THAT(accounts.ArrayCalls(), ElementsAre("AccessData!"));
    EXPECT_THAT(Lines(), ElementsAre(L"10 ->", L"4 SafeArrayAccessData failed 0x8000ffff"));
    EXPECT_TRUE(products.Has(Own, L"A"));
}

TEST_F(RemovalListTest, FailedUnlockIsLoggedAndTheCallGoesOn)
{
    products.Write(Own, L"A+B+");
    const InputArray array{{L"A", Own}};
    OleAccounts accounts(library.Module());
    accounts.FailAt(OleAccounts::UnaccessData, 1);

    EXPECT_TRUE(Call(array));

    EXPECT_THAT(accounts.ArrayCalls(), ElementsAre("AccessData", "UnaccessData!"));
    EXPECT_THAT(Lines(), ElementsAre(L"10 ->", L"10 Uninstall : \"\"HQ : A\" \"",
                                     L"4 SafeArrayUnaccessData failed 0x8000ffff", L"10 <- true"));
    EXPECT_FALSE(products.Has(Own, L"A"));
}

TEST_F(RemovalListTest, UnknownFolderEndsTheCallWithTheArrayUnlocked)
{
    products.Write(Own, L"A+B+");
    const InputArray array{{L"A", Own}};
    OleAccounts accounts(library.Module());
    accounts.FailAt(OleAccounts::AccessData, 0);
    const ImportPatch patch(library.Module(), "GetModuleFileNameW", FailToNameTheModule);

    EXPECT_FALSE(Call(array));

    EXPECT_THAT(accounts.ArrayCalls(), ElementsAre("AccessData", "UnaccessData"));
    EXPECT_THAT(Lines(), ElementsAre(L"10 ->", L"10 Uninstall : \"\"HQ : A\" \"", L"4 GetCurrentPath failed"));
    EXPECT_TRUE(callback.Calls().empty());
}

} // namespace
} // namespace prodsweep::test
