#include "host/check_behaviour.h"

#include "check/rules.h"
#include "environment/special_folder.h"
#include "support/com_scope.h"
#include "support/process.h"
#include "support/temp_tree.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <set>

namespace prodsweep::test {
namespace {

constexpr const wchar_t* harborKey = L"Software\\Harbor Ledger";

std::wstring Below(const std::wstring& relative)
{
    return relative.empty() ? harborKey : std::wstring(harborKey) + L'\\' + relative;
}

std::vector<Behaviour> AllBehaviour()
{
    std::vector<Behaviour> all;
    for (const auto& part : {CountedBehaviour(), DetectedBehaviour(), RecordedBehaviour(), RemovedBehaviour(),
                             CatalogueBehaviour(), FamilyBehaviour()})
        all.insert(all.end(), part.begin(), part.end());
    return all;
}

class RuleBehaviourTest : public testing::TestWithParam<Behaviour>
{
    const ComScope com;
};

TEST_P(RuleBehaviourTest, LibraryDoesWhatTheRuleSays) { GetParam().show(); }

INSTANTIATE_TEST_SUITE_P(Rules, RuleBehaviourTest, testing::ValuesIn(AllBehaviour()),
                         [](const testing::TestParamInfo<Behaviour>& row) {
                             std::string name = row.param.rule;
                             std::replace(name.begin(), name.end(), '-', '_');
                             return name;
                         });

TEST(RuleTest, EveryRuleIsShownAtWork)
{
    std::set<std::string_view> shown;
    for (const Behaviour& behaviour : AllBehaviour())
        EXPECT_TRUE(shown.insert(behaviour.rule).second) << behaviour.rule;

    for (const Rule& rule : Rules())
        EXPECT_TRUE(shown.contains(rule.name)) << rule.name;
}

} // namespace

std::wstring SamplePath(const std::string& rule, const std::wstring& file)
{
    wchar_t path[MAX_PATH] = {};
    GetModuleFileNameW(nullptr, path, MAX_PATH);
    const std::wstring program = path;
    return program.substr(0, program.find_last_of(L'\\')) + L"\\check_samples\\" +
           std::wstring(rule.begin(), rule.end()) + L'\\' + file;
}

SampleRemoval::SampleRemoval(const std::string& rule, const std::wstring& file)
    : pass(L"Harbor Ledger", SamplePath(rule, file), nothingStays, nullptr), walked(pass.Process())
{
    pass.PrepareCachedOperations();
}

std::size_t SampleRemoval::Operations() const
{
    return pass.cachedFiles.size() + pass.cachedFolders.size() + pass.cachedKills.size() +
           pass.cachedDisableDrivers.size() + pass.cachedRegItems.size() + pass.cachedRegKeySearches.size() +
           pass.cachedTools.size() + pass.cachedDllMethods.size() + pass.cachedDriverStops.size() +
           pass.cachedShortcuts.size() + pass.restartDeleteList.size();
}

bool IsDetected(const std::string& rule, const std::wstring& file)
{
    return CProductInstalled(SamplePath(rule, file)).Process();
}

std::wstring FolderOf(const wchar_t* keyword)
{
    std::wstring folder;
    EXPECT_TRUE(CSpecialFolder({}).Get(keyword, folder));
    return folder;
}

HarborFolder::HarborFolder(const wchar_t* keyword) : root(FolderOf(keyword) + L"\\Harbor")
{
    EXPECT_TRUE(CreateDirectoryW(root.c_str(), nullptr)) << GetLastError();
}

HarborFolder::~HarborFolder() { RemoveTree(root); }

std::wstring HarborFolder::Add(const std::wstring& relative, const wchar_t* program) const
{
    const std::wstring path = Path(relative);
    if (const std::size_t separator = relative.find(L'\\'); separator != std::wstring::npos)
        CreateDirectoryW(Path(relative.substr(0, separator)).c_str(), nullptr);
    EXPECT_TRUE(CopyFileW((ThisProgramsFolder() + program).c_str(), path.c_str(), TRUE)) << GetLastError();
    return path;
}

bool HarborFolder::Has(const std::wstring& relative) const { return Exists(Path(relative)); }

HarborKey::HarborKey() { AddText({}, L"Ledger 4", L"C:\\Harbor"); }

HarborKey::~HarborKey() { RegDeleteTreeW(HKEY_CURRENT_USER, harborKey); }

void HarborKey::AddText(const std::wstring& relative, const std::wstring& value, const std::wstring& data)
{
    EXPECT_EQ(ERROR_SUCCESS, RegSetKeyValueW(HKEY_CURRENT_USER, Below(relative).c_str(), value.c_str(), REG_SZ,
                                             data.c_str(), static_cast<DWORD>((data.size() + 1) * sizeof(wchar_t))));
}

bool HarborKey::HasKey(const std::wstring& relative)
{
    HKEY key = nullptr;
    const bool found = RegOpenKeyExW(HKEY_CURRENT_USER, Below(relative).c_str(), 0, KEY_READ, &key) == ERROR_SUCCESS;
    if (found)
        RegCloseKey(key);
    return found;
}

bool HarborKey::HasValue(const std::wstring& relative, const std::wstring& value)
{
    return RegGetValueW(HKEY_CURRENT_USER, Below(relative).c_str(), value.c_str(), RRF_RT_ANY, nullptr, nullptr,
                        nullptr) == ERROR_SUCCESS;
}

} // namespace prodsweep::test
