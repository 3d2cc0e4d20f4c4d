#include "swept_places.h"

#include <gtest/gtest.h>

namespace prodsweep {
namespace {

TEST(SweptPlacesTest, TakesThePlaceAndWhatLiesBelowIt)
{
    CSweptPlaces swept;
    swept.AddPath(L"C:\\App\\");
    EXPECT_EQ(L"C:\\App\\", swept.TakesPath(L"c:\\app"));
    EXPECT_EQ(L"C:\\App\\", swept.TakesPath(L"C:\\App\\deep\\file.txt"));
    EXPECT_EQ(L"", swept.TakesPath(L"C:\\AppData"));
    EXPECT_EQ(L"", swept.TakesPath(L"C:\\"));
}

TEST(SweptPlacesTest, WhatStaysOfAFolderIsNotTaken)
{
    CSweptPlaces swept;
    swept.AddPath(L"C:\\App", {{L"C:\\App\\In\\Kept"}, {L"C:\\App\\In", L"C:\\App"}});
    for (const wchar_t* const stays : {L"c:\\app", L"c:\\app\\in", L"c:\\app\\in\\kept", L"c:\\app\\in\\kept\\deep"})
        EXPECT_EQ(L"", swept.TakesPath(stays)) << stays;
    EXPECT_EQ(L"C:\\App", swept.TakesPath(L"C:\\App\\In\\other.txt"));
    EXPECT_EQ(L"C:\\App", swept.TakesPath(L"C:\\App\\other.txt"));
}

TEST(SweptPlacesTest, WhatStayedIsTakenByALaterPlaceAroundIt)
{
    CSweptPlaces swept;
    swept.AddPath(L"C:\\App", {{L"C:\\App\\Kept"}, {L"C:\\App"}});
    swept.AddPath(L"C:\\App");
    EXPECT_EQ(L"C:\\App", swept.TakesPath(L"C:\\App"));
    EXPECT_EQ(L"C:\\App", swept.TakesPath(L"C:\\App\\Kept\\deep"));
}

TEST(SweptPlacesTest, PathsAndKeysAreApart)
{
    CSweptPlaces swept;
    swept.AddKey(L"HKEY_LOCAL_MACHINE\\Software\\Anvil");
    EXPECT_EQ(L"", swept.TakesPath(L"HKEY_LOCAL_MACHINE\\Software\\Anvil"));
    EXPECT_NE(L"", swept.TakesKey(L"HKEY_LOCAL_MACHINE\\SOFTWARE\\Anvil\\Deep"));
}

} // namespace
} // namespace prodsweep
