// What comes of the samples by number, or by yes and no.
#include "host/check_behaviour.h"

#include "support/log_recorder.h"

#include <gtest/gtest.h>

#include <iterator>

namespace prodsweep::test {
namespace {

void ExpectOperations(const std::string& rule, std::size_t bad, std::size_t good)
{
    EXPECT_EQ(bad, SampleRemoval(rule, L"bad.xml").Operations());
    EXPECT_EQ(good, SampleRemoval(rule, L"good.xml").Operations());
}

void ExpectDetected(const std::string& rule, bool bad, bool good)
{
    EXPECT_EQ(bad, IsDetected(rule, L"bad.xml"));
    EXPECT_EQ(good, IsDetected(rule, L"good.xml"));
}

// A file that the library can do nothing with: neither removal nor detection gets anywhere.
void ExpectUnreadable(const std::string& rule)
{
    ExpectOperations(rule, 0, 1);
    EXPECT_FALSE(SampleRemoval(rule, L"bad.xml").Walked());
    EXPECT_TRUE(SampleRemoval(rule, L"good.xml").Walked());
}

constexpr Behaviour countedBehaviour[] = {
    {"not-well-formed", [] { ExpectUnreadable("not-well-formed"); }},
    {"undeclared-prefix",
     [] {
         // Of the two systems Wine is the one that does not mind.
         const bool isWine = GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "wine_get_version") != nullptr;
         EXPECT_EQ(isWine, SampleRemoval("undeclared-prefix").Walked());
         EXPECT_TRUE(SampleRemoval("undeclared-prefix", L"good.xml").Walked());
     }},
    {"wrong-root", [] { ExpectUnreadable("wrong-root"); }},
    {"version-list-missing", [] { ExpectUnreadable("version-list-missing"); }},
    {"version-list-empty",
     [] {
         ExpectOperations("version-list-empty", 0, 1);
         EXPECT_TRUE(SampleRemoval("version-list-empty").Walked());
         EXPECT_FALSE(IsDetected("version-list-empty", L"bad.xml"));
     }},
    {"document-type", [] { ExpectOperations("document-type", 0, 2); }},
    {"unknown-element", [] { ExpectOperations("unknown-element", 1, 2); }},
    {"missing-attribute", [] { ExpectOperations("missing-attribute", 1, 2); }},
    {"repeated-element", [] { ExpectOperations("repeated-element", 1, 2); }},
    {"version-without-win-nt", [] { ExpectOperations("version-without-win-nt", 0, 1); }},
    {"app-path-unset", [] { ExpectOperations("app-path-unset", 0, 1); }},
    {"comment-in-section", [] { ExpectOperations("comment-in-section", 1, 2); }},
    {"section-without-op-code", [] { ExpectOperations("section-without-op-code", 0, 1); }},
    {"unknown-op-code", [] { ExpectOperations("unknown-op-code", 0, 1); }},
    {"sleep-element", [] { ExpectOperations("sleep-element", 1, 2); }},
    {"os-never", [] { ExpectOperations("os-never", 1, 2); }},
    {"os-value", [] { ExpectOperations("os-value", 2, 2); }},
    {"unknown-keyword", [] { ExpectOperations("unknown-keyword", 0, 1); }},
    {"app-path-case", [] { ExpectOperations("app-path-case", 0, 1); }},
    {"pruned-folder", [] { ExpectOperations("pruned-folder", 1, 2); }},
    {"pruned-key", [] { ExpectOperations("pruned-key", 1, 2); }},
    {"version-absent",
     [] {
         const LogRecorder log;
         ExpectOperations("version-absent", 1, 1);
         EXPECT_EQ(1, log.Count(8, "CProductUninstall::Process", L"the xml doesn't have <ledger_5>"));
     }},
    {"comment-in-version-list",
     [] {
         const LogRecorder log;
         ExpectOperations("comment-in-version-list", 1, 1);
         EXPECT_EQ(1, log.Count(8, "CProductUninstall::Process", L"the xml doesn't have <#comment>"));
     }},
    {"version-not-listed",
     [] {
         SampleRemoval bad("version-not-listed");
         EXPECT_EQ(SampleRemoval("version-not-listed", L"good.xml")->cachedFiles, bad->cachedFiles);
     }},
};

} // namespace

std::vector<Behaviour> CountedBehaviour() { return {std::begin(countedBehaviour), std::end(countedBehaviour)}; }

std::vector<Behaviour> DetectedBehaviour()
{
    return {
        {"empty-name", [] { ExpectDetected("empty-name", true, false); }},
        {"mandatory-sections-value", [] { ExpectDetected("mandatory-sections-value", true, false); }},
        {"comment-between-sections", [] { ExpectDetected("comment-between-sections", false, true); }},
        {"section-empty", [] { ExpectDetected("section-empty", true, true); }},
        {"sleep-text", [] { ExpectDetected("sleep-text", false, true); }},
        {"duplicate-entry", [] { ExpectDetected("duplicate-entry", true, false); }},
        {"number-value", [] { ExpectDetected("number-value", false, true); }},
        {"minimum-out-of-reach", [] { ExpectDetected("minimum-out-of-reach", false, true); }},
        {"always-installed", [] { ExpectDetected("always-installed", true, false); }},
        {"never-installed", [] { ExpectDetected("never-installed", false, true); }},
        {"negative-score", [] { ExpectDetected("negative-score", false, true); }},
        // The tool that must be found is not there.
        {"score-of-tool", [] { ExpectDetected("score-of-tool", true, true); }},
        {"tool-section-scores", [] { ExpectDetected("tool-section-scores", true, false); }},
        {"shortcut-always-found", [] { ExpectDetected("shortcut-always-found", true, false); }},
        {"unknown-hive",
         [] {
             const HarborKey key;
             ExpectDetected("unknown-hive", false, true);
         }},
        {"key-separator",
         [] {
             const HarborKey key;
             ExpectDetected("key-separator", false, true);
         }},
        {"search-always-found",
         [] {
             const HarborKey key;
             ExpectDetected("search-always-found", true, false);
         }},
    };
}

} // namespace prodsweep::test
