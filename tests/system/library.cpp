#include "system/library.h"

#include "support/log_recorder.h"
#include "support/process.h"
#include "system/catalogue_text.h"

#include <gtest/gtest.h>

namespace prodsweep::test {

Library::Library()
{
    const std::wstring built = ThisProgramsFolder() + L"..\\bin\\prodsweep.dll";
    const std::wstring copy = Path(L"prodsweep.dll");
    EXPECT_TRUE(CopyFileW(built.c_str(), copy.c_str(), TRUE)) << GetLastError();
    module = LoadLibraryExW(copy.c_str(), nullptr, 0);
    EXPECT_NE(nullptr, module) << GetLastError();
    Bind(GetProducts, "GetProducts");
    Bind(GetInstalledProducts, "GetInstalledProducts");
    Bind(GetInstalledProductsEx, "GetInstalledProductsEx");
    Bind(UninstallProducts, "UninstallProducts");
    Bind(UninstallProduct, "UninstallProduct");
    Bind(UninstallForceAll, "UninstallForceAll");
    Bind(UninstallAllInstalled, "UninstallAllInstalled");
    Bind(GetProgressPercent, "GetProgressPercent");
}

Library::~Library()
{
    EXPECT_TRUE(CanariesIntact());
    FreeLibrary(module);
    EXPECT_EQ(nullptr, GetModuleHandleW(Path(L"prodsweep.dll").c_str())) << "the DLL did not let itself be unloaded";
}

void Library::WriteOwn(const std::wstring& elements) { Write(L"products.xml", CatalogueText(elements)); }

void Library::WriteOther(const std::wstring& elements) { Write(L"detection.xml", CatalogueText(elements)); }

template <class Function>
void Library::Bind(Function& function, const char* name)
{
    function = reinterpret_cast<Function>(reinterpret_cast<void*>(GetProcAddress(module, name)));
    EXPECT_NE(nullptr, function) << name << " is not exported";
}

} // namespace prodsweep::test
