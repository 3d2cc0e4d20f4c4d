// How the library behaves on the samples of "prodsweep check", rule by rule.
#pragma once

#include "interpreter/product_installed.h"
#include "support/removal_pass.h"

#include <windows.h>

#include <string>
#include <vector>

namespace prodsweep::test {

struct Behaviour
{
    const char* rule;
    void (*show)(); // expects what the rule says to come of it
};

// By what it takes to see it.
std::vector<Behaviour> CountedBehaviour();   // the number of operations that a removal records
std::vector<Behaviour> DetectedBehaviour();  // whether a product counts as installed
std::vector<Behaviour> RecordedBehaviour();  // what a removal records
std::vector<Behaviour> RemovedBehaviour();   // what a removal takes away
std::vector<Behaviour> CatalogueBehaviour(); // what a catalogue is taken to say
std::vector<Behaviour> FamilyBehaviour();    // what a product that stays protects

// The file of a sample, "bad.xml" or "good\\products.xml".
[[nodiscard]] std::wstring SamplePath(const std::string& rule, const std::wstring& file);

// A removal that has walked the sample, and done nothing yet.
class SampleRemoval
{
public:
    explicit SampleRemoval(const std::string& rule, const std::wstring& file = L"bad.xml");

    [[nodiscard]] bool Walked() const { return walked; }
    [[nodiscard]] std::size_t Operations() const;
    RemovalPass* operator->() { return &pass; }

private:
    CheckList nothingStays;
    RemovalPass pass;
    bool walked;
};

[[nodiscard]] bool IsDetected(const std::string& rule, const std::wstring& file);

// The folder of a keyword.
[[nodiscard]] std::wstring FolderOf(const wchar_t* keyword);

// The folder "Harbor" in that of a keyword, for as long as it lives.
class HarborFolder
{
public:
    explicit HarborFolder(const wchar_t* keyword);
    ~HarborFolder();
    HarborFolder(const HarborFolder&) = delete;
    HarborFolder& operator=(const HarborFolder&) = delete;

    // A copy of a program that lies beside this one; the path of the copy.
    std::wstring Add(const std::wstring& relative, const wchar_t* program = L"victim.exe") const;
    [[nodiscard]] bool Has(const std::wstring& relative) const;
    [[nodiscard]] std::wstring Path(const std::wstring& relative) const { return root + L'\\' + relative; }

private:
    std::wstring root;
};

// The key that the samples name, HKEY_CURRENT_USER\Software\Harbor Ledger, for as long as it lives.
class HarborKey
{
public:
    HarborKey();
    ~HarborKey();
    HarborKey(const HarborKey&) = delete;
    HarborKey& operator=(const HarborKey&) = delete;

    static void AddText(const std::wstring& relative, const std::wstring& value, const std::wstring& data);
    [[nodiscard]] static bool HasKey(const std::wstring& relative);
    [[nodiscard]] static bool HasValue(const std::wstring& relative, const std::wstring& value);
};

} // namespace prodsweep::test
