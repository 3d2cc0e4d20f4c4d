#include "catalogue/product_version.h"

#include "environment/log.h"
#include "support/com_scope.h"
#include "support/dom.h"
#include "support/handle_count.h"
#include "support/import_patch.h"
#include "support/log_recorder.h"
#include "support/uninstall_entries.h"
#include "support/wow64_mode.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace prodsweep {
namespace {

constexpr const char* searchForProductCode = "CProductVersion::SearchForProductCode";
constexpr REGSAM other = KEY_WOW64_32KEY;

// The test's entries stand in the machine's own list, among all others.
class ProductCodeSearchTest : public testing::Test
{
protected:
    // The key path that the display name resolves to.
    std::wstring Search(const std::wstring& displayName)
    {
        const test::DomText text(L"<v name='1' prodName='" + displayName + L"'/>");
        version = {};
        EXPECT_TRUE(version.Load(text.Root()));
        return version.keyPath;
    }

    // Puts data of any kind into a display name. What lies behind the data is no zero, for else the
    // registry takes it for the terminator that was meant, and adds it.
    void AddDisplayName(const std::wstring& name, DWORD type, const std::wstring& data, std::size_t size)
    {
        entries.AddData(name, L"DisplayName", type, (data + L"!").c_str(), size);
    }

    const test::ComScope com;
    const test::LogRecorder log;
    test::UninstallEntries entries;
    const std::wstring display = entries.Unique(L"prodsweep tests: display name");
    const std::wstring entry = entries.Unique(L"prodsweep-entry");
    CProductVersion version;
};

TEST_F(ProductCodeSearchTest, EntryOfThatDisplayNameIsFound)
{
    entries.Add(entry, display);
    entries.Add(entry + L"-other", display + L" 2");

    EXPECT_EQ(entries.Path(entry), Search(display));

    EXPECT_TRUE(version.IsInstalled());
    EXPECT_EQ(0, log.Count(LogTrace, searchForProductCode, L"try KEY_WOW64_32KEY")) << "one pass was enough";
}

TEST_F(ProductCodeSearchTest, UnknownDisplayNameIsLookedForInBothViews)
{
    EXPECT_EQ(L"", Search(display));
    EXPECT_EQ(1, log.Count(LogTrace, searchForProductCode, L"try KEY_WOW64_32KEY"));
}

TEST_F(ProductCodeSearchTest, DisplayNameIsComparedExactly)
{
    entries.Add(entry + L"-1", display + L" ");
    entries.Add(entry + L"-2", display.substr(1));
    entries.Add(entry + L"-3", L"P" + display.substr(1));
    EXPECT_EQ(L"", Search(display));
}

TEST_F(ProductCodeSearchTest, EntryWithoutADisplayNameIsPassedOver)
{
    entries.Add(entry + L"-1");
    entries.Add(entry + L"-2", display);
    EXPECT_EQ(entries.Path(entry + L"-2"), Search(display));
}

TEST_F(ProductCodeSearchTest, EmptyProductNameMatchesAnEmptyDisplayName)
{
    // The last plain name wins, and this one stands behind all others.
    entries.Add(L"~~" + entry, L"");
    EXPECT_EQ(entries.Path(L"~~" + entry), Search(L""));
}

// Among several.

TEST_F(ProductCodeSearchTest, PlainNameReplacesAGuidThatCameFirst)
{
    const std::wstring guid = entries.NewGuid();
    entries.Add(guid, display);
    entries.Add(L"~" + entry, display);
    EXPECT_EQ(entries.Path(L"~" + entry), Search(display));
}

TEST_F(ProductCodeSearchTest, GuidDoesNotReplaceAPlainName)
{
    entries.Add(entry, display);
    entries.Add(entries.NewGuid(), display);
    EXPECT_EQ(entries.Path(entry), Search(display));
}

TEST_F(ProductCodeSearchTest, LastPlainNameWins)
{
    entries.Add(entry + L"-1", display);
    entries.Add(entry + L"-2", display);
    EXPECT_EQ(entries.Path(entry + L"-2"), Search(display));
}

TEST_F(ProductCodeSearchTest, FirstOfTwoGuidsStays)
{
    const std::wstring guid1 = entries.NewGuid();
    const std::wstring guid2 = entries.NewGuid();
    entries.Add(guid1, display);
    entries.Add(guid2, display);
    EXPECT_EQ(entries.Path(std::min(guid1, guid2)), Search(display));
}

TEST_F(ProductCodeSearchTest, WhatOnlyLooksLikeAGuidIsAPlainName)
{
    const std::wstring guid = L"{0" + entries.NewGuid().substr(2);
    const std::wstring noGuid = L"{1" + guid.substr(2, 35) + L"x";
    entries.Add(guid, display);
    entries.Add(noGuid, display);
    EXPECT_EQ(entries.Path(noGuid), Search(display));
}

// Two views.

TEST_F(ProductCodeSearchTest, EntryOfTheOtherViewIsFoundBySecondPass)
{
    entries.Add(entry, display, other);

    EXPECT_EQ(entries.Path(entry), Search(display)) << "no trace of the view";

    EXPECT_EQ(1, log.Count(LogTrace, searchForProductCode, L"try KEY_WOW64_32KEY"));
    EXPECT_FALSE(version.IsInstalled());
    EXPECT_TRUE(version.IsInstalled2());
}

TEST_F(ProductCodeSearchTest, SecondViewIsNotReadWhenTheFirstHasAMatch)
{
    entries.Add(entry + L"-1", display);
    entries.Add(entry + L"-2", display, other);
    EXPECT_EQ(entries.Path(entry + L"-1"), Search(display));
}

// What is asked of the registry.

test::ImportPatch* listOpening = nullptr;
std::vector<REGSAM> listMasks;  // with which the list was opened
std::vector<REGSAM> entryMasks; // with which the test's entries were opened
std::wstring refused;           // a subkey that does not open
LSTATUS refusal = ERROR_ACCESS_DENIED;

LSTATUS WINAPI WatchListOpening(HKEY hive, const wchar_t* subkey, DWORD options, REGSAM access, HKEY* key)
{
    const std::wstring text = subkey;
    if (text == test::UninstallEntries::list + std::wstring(L"\\"))
        listMasks.push_back(access);
    else if (text.find(L"\\prodsweep-entry") != std::wstring::npos)
        entryMasks.push_back(access);
    if (text == refused)
        return refusal;
    return listOpening->Original<decltype(RegOpenKeyExW)>()(hive, subkey, options, access, key);
}

class WatchedSearchTest : public ProductCodeSearchTest
{
protected:
    WatchedSearchTest() : patch(nullptr, "RegOpenKeyExW", WatchListOpening)
    {
        listOpening = &patch;
        listMasks.clear();
        entryMasks.clear();
        refused.clear();
    }

    const std::wstring list = test::UninstallEntries::list + std::wstring(L"\\");
    test::ImportPatch patch;
};

TEST_F(WatchedSearchTest, SixtyFourBitProcessAsksItsOwnViewThenTheOther)
{
    entries.Add(entry, L"not it");
    entries.Add(entry, L"not it", other);
    entryMasks.clear();
    Search(display);
    EXPECT_EQ((std::vector<REGSAM>{0x20019, 0x20219}), listMasks);
    EXPECT_EQ((std::vector<REGSAM>{0x20019, 0x20219}), entryMasks) << "an entry is opened in the view of its list";
}

TEST_F(WatchedSearchTest, ThirtyTwoBitProcessAsksItsOwnViewThenTheOther)
{
    const test::Wow64Mode mode;
    Search(display);
    EXPECT_EQ((std::vector<REGSAM>{0x20019, 0x20119}), listMasks);
    EXPECT_EQ(1, log.Count(LogTrace, searchForProductCode, L"try KEY_WOW64_64KEY"));
    EXPECT_EQ(0, log.Count(LogTrace, searchForProductCode, L"try KEY_WOW64_32KEY"));
}

TEST_F(WatchedSearchTest, ListThatDoesNotOpenLeavesTheSecondPass)
{
    entries.Add(entry, display);
    refused = list;
    EXPECT_EQ(L"", Search(display));
    EXPECT_EQ(2u, listMasks.size());
    EXPECT_EQ(1, log.Count(LogTrace, searchForProductCode, L"try KEY_WOW64_32KEY"));
}

TEST_F(WatchedSearchTest, EntryThatDoesNotOpenIsPassedOver)
{
    entries.Add(entry + L"-1", display);
    entries.Add(entry + L"-2", display);
    refused = list + entry + L"-2";
    EXPECT_EQ(entries.Path(entry + L"-1"), Search(display));
}

TEST_F(ProductCodeSearchTest, KeysAreClosedOnAllRoads)
{
    entries.Add(entry, display);
    Search(display);
    const test::HandleCount handles;
    for (int i = 0; i < 20; ++i)
    {
        Search(display);
        Search(L"prodsweep tests: installed by nobody");
    }
    EXPECT_TRUE(handles.Unchanged());
}

// Names at and past the limits.

TEST_F(ProductCodeSearchTest, EntryNameOf254CharactersIsRead)
{
    const std::wstring longName = entry + std::wstring(254 - entry.size(), L'x');
    entries.Add(longName, display);
    EXPECT_EQ(entries.Path(longName), Search(display));
}

TEST_F(ProductCodeSearchTest, EntryNameOf255CharactersEndsTheList)
{
    const std::wstring longName = entry + std::wstring(255 - entry.size(), L'x');
    entries.Add(longName, L"not it");
    entries.Add(entry + L"y", display); // stands behind it
    EXPECT_EQ(L"", Search(display));
}

TEST_F(ProductCodeSearchTest, DisplayNameOf126CharactersFits)
{
    const std::wstring name = display + std::wstring(126 - display.size(), L'x');
    entries.Add(entry, name); // 254 bytes with its terminator
    EXPECT_EQ(entries.Path(entry), Search(name));
}

TEST_F(ProductCodeSearchTest, DisplayNameOf127CharactersIsTooLong)
{
    const std::wstring name = display + std::wstring(127 - display.size(), L'x');
    entries.Add(entry, name); // 256 bytes with its terminator
    EXPECT_EQ(L"", Search(name));
}

TEST_F(ProductCodeSearchTest, UnterminatedDisplayNameOf127CharactersFits)
{
    const std::wstring name = display + std::wstring(127 - display.size(), L'x');
    AddDisplayName(entry, REG_SZ, name, 254);
    EXPECT_EQ(entries.Path(entry), Search(name));
}

struct DataRow
{
    const char* name;
    DWORD type;
    std::wstring tail;   // behind the display name
    std::size_t missing; // so many bytes at the end are not stored
    bool found;
};

class DisplayNameDataTest : public ProductCodeSearchTest, public testing::WithParamInterface<DataRow>
{};

TEST_P(DisplayNameDataTest, TextEndsAtTheFirstZeroOrWithTheData)
{
    const DataRow& row = GetParam();
    const std::wstring data = display + row.tail;
    AddDisplayName(entry, row.type, data, data.size() * sizeof(wchar_t) - row.missing);
    EXPECT_EQ(row.found ? entries.Path(entry) : L"", Search(display));
}

INSTANTIATE_TEST_SUITE_P(Data, DisplayNameDataTest,
                         testing::Values(DataRow{"Terminated", REG_SZ, std::wstring(1, L'\0'), 0, true},
                                         DataRow{"Unterminated", REG_SZ, L"", 0, true},
                                         DataRow{"TerminatedTwice", REG_SZ, std::wstring(2, L'\0'), 0, true},
                                         DataRow{"MoreBehindTheZero", REG_SZ, std::wstring(L"\0more", 5), 0, true},
                                         DataRow{"HalfACharacterMore", REG_SZ, L"x", 1, true},
                                         DataRow{"HalfACharacterLess", REG_SZ, L"", 1, false},
                                         DataRow{"OneCharacterMore", REG_SZ, L"x", 0, false},
                                         DataRow{"Expandable", REG_EXPAND_SZ, std::wstring(1, L'\0'), 0, true},
                                         DataRow{"Binary", REG_BINARY, L"", 0, true},
                                         DataRow{"NoType", REG_NONE, L"", 0, true},
                                         DataRow{"Several", REG_MULTI_SZ, std::wstring(L"\0more\0\0", 7), 0, true}),
                         [](const auto& row) { return row.param.name; });

TEST_F(ProductCodeSearchTest, DataOf255BytesFits)
{
    AddDisplayName(entry, REG_BINARY, display + std::wstring(128, L'\0'), 255);
    EXPECT_EQ(entries.Path(entry), Search(display));
}

TEST_F(ProductCodeSearchTest, DataOf256BytesIsPassedOverWhateverItHolds)
{
    AddDisplayName(entry, REG_BINARY, display + std::wstring(128, L'\0'), 256);
    EXPECT_EQ(L"", Search(display));
}

TEST_F(ProductCodeSearchTest, CharactersOutsideTheBasicPlaneAreCompared)
{
    const std::wstring name = display + L" \xD83E\xDDF9";
    entries.Add(entry + L"-1", display + L" \xD83E\xDDFA");
    entries.Add(entry + L"-2", name);
    EXPECT_EQ(entries.Path(entry + L"-2"), Search(name));
}

} // namespace
} // namespace prodsweep
