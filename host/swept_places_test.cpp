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

TEST(SweptPlacesTest, PathsAndKeysAreApart)
{
    CSweptPlaces swept;
    swept.AddKey(L"HKEY_LOCAL_MACHINE\\Software\\Anvil");
    EXPECT_EQ(L"", swept.TakesPath(L"HKEY_LOCAL_MACHINE\\Software\\Anvil"));
    EXPECT_NE(L"", swept.TakesKey(L"HKEY_LOCAL_MACHINE\\SOFTWARE\\Anvil\\Deep"));
}

} // namespace
} // namespace prodsweep
