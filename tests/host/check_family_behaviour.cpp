// What a product that stays protects while another one of the samples is removed.
#include "host/check_behaviour.h"

#include "support/com_scope.h"
#include "support/shortcut_maker.h"

#include <gtest/gtest.h>

#include <iterator>

namespace prodsweep::test {
namespace {

// The removal of one product while another stays, which looks at the machine now.
class FamilyRemoval
{
public:
    FamilyRemoval(const std::string& rule, const std::wstring& leaving, const std::wstring& staying)
        : pass(L"Harbor Ledger", SamplePath(rule, leaving), stays, nullptr)
    {
        stays.emplace_back(SamplePath(rule, staying));
        EXPECT_TRUE(pass.Process());
        pass.PrepareCachedOperations();
    }
    RemovalPass* operator->() { return &pass; }

private:
    CheckList stays;
    RemovalPass pass;
};

// Whether the program of the folder is still there after the removal of the product that it belongs to.
bool ProgramIsKeptBy(const std::wstring& staying)
{
    const HarborFolder folder(L"program_files");
    folder.Add(L"Ledger\\ledger.exe");
    FamilyRemoval removal("descriptor-missing", L"good\\extern\\harbor_ledger.xml", staying);
    removal->ExecuteCachedOperations();
    return folder.Has(L"Ledger\\ledger.exe");
}

void ShowDescriptorMissing()
{
    const std::wstring missing = L"bad\\extern\\ledger.xml";
    const std::wstring there = L"good\\extern\\harbor_ledger.xml";
    EXPECT_FALSE(SampleRemoval("descriptor-missing", missing).Walked());
    EXPECT_TRUE(SampleRemoval("descriptor-missing", there).Walked());
    EXPECT_FALSE(ProgramIsKeptBy(missing));
    EXPECT_TRUE(ProgramIsKeptBy(there));
    const HarborFolder folder(L"program_files");
    folder.Add(L"Ledger\\ledger.exe");
    EXPECT_FALSE(IsDetected("descriptor-missing", missing));
    EXPECT_TRUE(IsDetected("descriptor-missing", there));
}

void ShowDescriptorShared()
{
    FamilyRemoval removal("descriptor-shared", L"bad\\intern\\harbor.xml", L"bad\\intern\\harbor.xml");
    EXPECT_TRUE(removal->IsUsedFile(removal->cachedFiles.at(0).c_str()));
    FamilyRemoval apart("descriptor-shared", L"good\\intern\\harbor.xml", L"good\\intern\\reader.xml");
    EXPECT_FALSE(apart->IsUsedFile(apart->cachedFiles.at(0).c_str()));
}

// What the removal of one product leaves of the things that both name: a file, one in a folder, and a key.
std::string SharedThingsAfterRemoval(const std::wstring& leaving, const std::wstring& staying)
{
    const HarborFolder folder(L"common_files");
    folder.Add(L"words.dat");
    folder.Add(L"Shared\\maps.dat");
    const HarborKey key;
    key.AddText(L"Shared\\Maps", L"Path", L"x");
    FamilyRemoval removal("shared-spelling", leaving, staying);
    removal->ExecuteCachedOperations();
    std::string left;
    left += folder.Has(L"words.dat") ? "file " : "";
    left += folder.Has(L"Shared\\maps.dat") ? "file-in-folder " : "";
    left += key.HasKey(L"Shared\\Maps") ? "key" : "";
    return left;
}

void ShowSharedSpelling()
{
    EXPECT_EQ("", SharedThingsAfterRemoval(L"bad\\intern\\ledger.xml", L"bad\\intern\\reader.xml"));
    EXPECT_EQ("", SharedThingsAfterRemoval(L"bad\\intern\\reader.xml", L"bad\\intern\\ledger.xml"));
    const std::string all = "file file-in-folder key";
    EXPECT_EQ(all, SharedThingsAfterRemoval(L"good\\intern\\ledger.xml", L"good\\intern\\reader.xml"));
    EXPECT_EQ(all, SharedThingsAfterRemoval(L"good\\intern\\reader.xml", L"good\\intern\\ledger.xml"));
}

// Whether an empty key outlives the removal of the one around it, while a product stays that names it by this hive.
bool EmptyKeyStays(const std::string& hive)
{
    const ComScope com;
    const HarborKey key;
    HKEY made = nullptr;
    RegCreateKeyW(HKEY_CURRENT_USER, L"Software\\Harbor Ledger\\Shared\\Empty", &made);
    RegCloseKey(made);
    const CheckList stays{
        Staying("<k op_code='del_regkey'><e name='" + hive + "\\Software\\Harbor Ledger\\Shared\\Empty'/></k>")};
    RemovalPass removal(L"Harbor Ledger", SamplePath("shared-spelling", L"good\\intern\\ledger.xml"), stays, nullptr);
    EXPECT_TRUE(removal.Process());
    removal.ExecuteCachedOperations();
    return key.HasKey(L"Shared\\Empty");
}

// What the page says of a limit of the rule.
TEST(SharedKeyTest, EmptyKeyBelowAnotherIsKnownByTheLongNameOfItsHive)
{
    EXPECT_TRUE(EmptyKeyStays("HKEY_CURRENT_USER"));
    EXPECT_FALSE(EmptyKeyStays("HKCU"));
}

// Whether a shortcut outlives the removal of the folder around it, while a product stays that finds it by this name of
// the folder.
bool ShortcutInFolderStays(const std::string& name)
{
    const ComScope com;
    const HarborFolder folder(L"common_files");
    folder.Add(L"Shared\\reader.exe");
    MakeShortcut(folder.Path(L"Shared\\Reader.lnk"), folder.Path(L"Shared\\reader.exe"));
    const CheckList stays{Staying("<s op_code='del_shortcut'><e rel_shortcut='common_files' path='" + name +
                                  "' target_name='reader.exe'/></s>")};
    RemovalPass removal(L"Harbor Ledger", SamplePath("shared-spelling", L"good\\intern\\ledger.xml"), stays, nullptr);
    EXPECT_TRUE(removal.Process());
    removal.ExecuteCachedOperations();
    EXPECT_FALSE(folder.Has(L"Shared\\reader.exe"));
    return folder.Has(L"Shared\\Reader.lnk");
}

TEST(SharedFolderTest, ShortcutIsKnownByTheSpellingOfItsFolder)
{
    EXPECT_TRUE(ShortcutInFolderStays("Harbor\\Shared"));
    EXPECT_FALSE(ShortcutInFolderStays("Harbor\\shared"));
}

constexpr Behaviour familyBehaviour[] = {
    {"descriptor-missing", &ShowDescriptorMissing},
    {"descriptor-shared", &ShowDescriptorShared},
    {"shared-spelling", &ShowSharedSpelling},
    {"shared-service",
     [] {
         FamilyRemoval removal("shared-service", L"bad\\intern\\ledger.xml", L"bad\\intern\\reader.xml");
         EXPECT_EQ(WideStringList{L"HarborSync"}, removal->cachedDisableDrivers);
     }},
};

} // namespace

std::vector<Behaviour> FamilyBehaviour() { return {std::begin(familyBehaviour), std::end(familyBehaviour)}; }

} // namespace prodsweep::test
