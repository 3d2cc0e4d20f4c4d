// What a caller and the log are told when a listing fails before its array is made.
#include "environment/log.h"
#include "support/import_patch.h"
#include "support/log_recorder.h"
#include "support/system_answers.h"
#include "system/catalogue_text.h"
#include "system/com_calls.h"
#include "system/library.h"
#include "system/product_array.h"
#include "system/uninstall_entry.h"

#include <gmock/gmock.h>
#include <objbase.h>

namespace prodsweep::test {
namespace {

struct FailureTest : testing::TestWithParam<Listing>
{
    // Calls the export with an array that must stay as it is when the call fails.
    bool Call(int flags)
    {
        const bool succeeded = (library.*GetParam().call)(&array, flags);
        if (succeeded)
            ProdsweepFreeProducts(array);
        else
            EXPECT_EQ(sentinel, array) << "the array pointer was written";
        return succeeded;
    }
    testing::AssertionResult Logged(int level, const std::wstring& text) const
    {
        return log.Has(level, GetParam().logName, text);
    }

    SAFEARRAY* const sentinel = reinterpret_cast<SAFEARRAY*>(1);
    SAFEARRAY* array = sentinel;
    Library library;
    LogRecorder log;
};
INSTANTIATE_TEST_SUITE_P(All, FailureTest, testing::ValuesIn(listings), [](const auto& row) { return row.param.name; });

TEST_P(FailureTest, BothCataloguesMissingAreBothLogged)
{
    EXPECT_FALSE(Call(PRODSWEEP_LIST_ALL));

    EXPECT_TRUE(Logged(LogError, L"load products HQ \"" + library.Path(L"products.xml") + L"\" failed"));
    EXPECT_TRUE(Logged(LogError, L"load products EXT \"" + library.Path(L"detection.xml") + L"\" failed"));
    EXPECT_TRUE(Logged(LogTrace, L"<- false"));
}

TEST_P(FailureTest, FirstCatalogueMissingFailsTheCallAndTheSecondIsStillReadButNotExamined)
{
    library.WriteOther(ProductText(L"other"));

    EXPECT_FALSE(Call(PRODSWEEP_LIST_ALL));

    EXPECT_TRUE(Logged(LogError, L"load products HQ \"" + library.Path(L"products.xml") + L"\" failed"));
    EXPECT_TRUE(Logged(LogTrace, L"<- false"));
    EXPECT_TRUE(log.Has(LogTrace, "CProducts::Load", L"<-success \"" + library.Path(L"detection.xml") + L"\""));
    for (const LogRecord& record : log.Records())
        EXPECT_NE("CProduct::IsInstalled", record.function);
}

TEST_P(FailureTest, FirstCatalogueIsReadAndExaminedBeforeTheSecond)
{
    library.WriteOwn(ProductText(L"own"));
    library.WriteOther(ProductText(L"other"));
    ASSERT_TRUE(Call(PRODSWEEP_LIST_ALL));

    const std::size_t own = log.PlaceOf(L"<-success \"" + library.Path(L"products.xml") + L"\"");
    const std::size_t other = log.PlaceOf(L"<-success \"" + library.Path(L"detection.xml") + L"\"");
    EXPECT_LT(own, other);
    EXPECT_LT(other, log.Records().size());
    if (GetParam().call != &Library::GetProducts)
    {
        EXPECT_LT(log.PlaceOf(L"\"own\" is installed : false"), other);
    }
}

TEST_P(FailureTest, SecondCatalogueMissingFailsTheCall)
{
    library.WriteOwn(ProductText(L"own"));

    EXPECT_FALSE(Call(PRODSWEEP_LIST_ALL));

    EXPECT_TRUE(Logged(LogError, L"load products EXT \"" + library.Path(L"detection.xml") + L"\" failed"));
    EXPECT_TRUE(Logged(LogTrace, L"<- false"));
    // The products of the first were examined before the second was read.
    const bool examines = GetParam().call != &Library::GetProducts;
    EXPECT_EQ(examines ? 1 : 0, log.Count(LogTrace, "CProduct::IsInstalled", L"\"own\" is installed : false"));
}

TEST_P(FailureTest, CatalogueThatIsNoCatalogueFailsTheCall)
{
    for (const char* content : {"", "<uninstall_information>", "<other/>", "not XML", "\xff\xfe<"})
    {
        log.Clear();
        library.Write(L"products.xml", content);
        EXPECT_FALSE(Call(PRODSWEEP_LIST_OWN)) << content;
        EXPECT_TRUE(Logged(LogError, L"load products HQ \"" + library.Path(L"products.xml") + L"\" failed")) << content;
    }
}

TEST_P(FailureTest, FailureOfOneCallDoesNotOutliveIt)
{
    EXPECT_FALSE(Call(PRODSWEEP_LIST_OWN));
    library.WriteOwn(L"");
    EXPECT_TRUE(Call(PRODSWEEP_LIST_OWN));
}

TEST_P(FailureTest, FolderThatCannotBeFoundEndsTheCall)
{
    library.WriteOwn(L"");
    const ImportPatch patch(library.Module(), "GetModuleFileNameW", FailToNameTheModule);
    const ComCalls com(library.Module());

    EXPECT_FALSE(Call(PRODSWEEP_LIST_OWN));

    EXPECT_TRUE(log.Has(LogError, "CPath::GetCurrentPath", L"GetModuleFileName failed 0x1f"));
    EXPECT_TRUE(Logged(LogError, L"GetCurrentPath failed"));
    EXPECT_EQ(0, log.Count(LogTrace, GetParam().logName, L"<- false"));
    EXPECT_EQ(1, ComCalls::Uninitialised());
}

TEST_P(FailureTest, ModuleNameWithoutABackslashEndsTheCall)
{
    library.WriteOwn(L"");
    const ImportPatch patch(library.Module(), "GetModuleFileNameW", NameWithoutBackslash);
    const ComCalls com(library.Module());

    EXPECT_FALSE(Call(PRODSWEEP_LIST_OWN));

    EXPECT_TRUE(log.Has(LogError, "CPath::GetCurrentPath", L"path \"prodsweep.dll\" ???"));
    EXPECT_TRUE(Logged(LogError, L"GetCurrentPath failed"));
    EXPECT_EQ(1, ComCalls::Uninitialised());
}

HRESULT WINAPI FailToCreate(REFCLSID, IUnknown*, DWORD, REFIID, void** object)
{
    *object = nullptr;
    return REGDB_E_CLASSNOTREG;
}

TEST_P(FailureTest, MachineWithoutTheParserFailsTheCall)
{
    library.WriteOwn(L"");
    const ImportPatch patch(library.Module(), "CoCreateInstance", FailToCreate);

    EXPECT_FALSE(Call(PRODSWEEP_LIST_OWN));

    EXPECT_TRUE(log.Has(LogError, "CProducts::Load", L"CoCreateInstance CLSID_DOMDocument30 failed 0x80040154"));
    EXPECT_TRUE(Logged(LogError, L"load products HQ \"" + library.Path(L"products.xml") + L"\" failed"));
}

TEST_P(FailureTest, NullArrayPointerIsRefused)
{
    library.WriteOwn(L"");

    EXPECT_FALSE((library.*GetParam().call)(nullptr, PRODSWEEP_LIST_OWN));
    EXPECT_FALSE((library.*GetParam().call)(nullptr, 0));

    EXPECT_TRUE(Logged(LogError, L"SafeArrayAllocDescriptor failed 0x80004003"));
}

} // namespace
} // namespace prodsweep::test
