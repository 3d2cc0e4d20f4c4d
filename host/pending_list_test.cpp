#include "pending_list.h"

#include <cstring>
#include <string_view>

#include <gmock/gmock.h>

namespace prodsweep {
namespace {

using testing::IsEmpty;

// Zeros within the literal count; the one that ends it does not.
template <std::size_t size>
ByteVector Bytes(const wchar_t (&text)[size])
{
    ByteVector bytes((size - 1) * sizeof(wchar_t));
    std::memcpy(bytes.data(), text, bytes.size());
    return bytes;
}

// "delete a", "rename a b", "rename a !b", "unclear a b"
std::vector<std::wstring> Told(const ByteVector& data)
{
    std::vector<std::wstring> lines;
    for (const PendingEntry& entry : ReadPendingList(data).entries)
    {
        const bool deletes = entry.action == PendingAction::Delete;
        lines.push_back((deletes                                 ? L"delete "
                         : entry.action == PendingAction::Rename ? L"rename "
                                                                 : L"unclear ") +
                        entry.source + (entry.target.empty() ? L"" : L" ") + (entry.replaces ? L"!" : L"") +
                        entry.target);
    }
    return lines;
}

struct ListRow
{
    const char* name;
    ByteVector data;
    std::vector<std::wstring> told;
    std::size_t faults;
};

class PendingListTest : public testing::TestWithParam<ListRow>
{};

TEST_P(PendingListTest, IsReadAsFarAsItCanBe)
{
    EXPECT_EQ(GetParam().told, Told(GetParam().data));
    EXPECT_EQ(GetParam().faults, ReadPendingList(GetParam().data).faults.size());
}

ByteVector WithHalfACharacter(ByteVector bytes)
{
    bytes.push_back('x');
    return bytes;
}

INSTANTIATE_TEST_SUITE_P(
    PendingList, PendingListTest,
    testing::Values(ListRow{"Deletion", Bytes(L"\\??\\C:\\a\0\0\0"), {L"delete \\??\\C:\\a"}, 0},
                    ListRow{"Renaming", Bytes(L"a\0b\0\0"), {L"rename a b"}, 0},
                    ListRow{"Replacing", Bytes(L"a\0!b\0\0"), {L"rename a !b"}, 0},
                    ListRow{"ReplacingNothing", Bytes(L"a\0!\0\0"), {L"unclear a!"}, 0},
                    ListRow{"InTheirOrder", Bytes(L"b\0\0a\0c\0b\0\0\0"), {L"delete b", L"rename a c", L"delete b"}, 0},
                    ListRow{"NoData", {}, {}, 0}, ListRow{"EndMarkOnly", Bytes(L"\0"), {}, 0},
                    ListRow{"ManyEndMarks", Bytes(L"a\0\0\0\0\0\0"), {L"delete a"}, 0},
                    ListRow{"WithoutEndMark", Bytes(L"a\0\0b\0\0"), {L"delete a", L"delete b"}, 1},
                    ListRow{"RenamingThatEndsAbruptly", Bytes(L"a\0\0b\0c"), {L"delete a", L"unclear b c"}, 1},
                    ListRow{"OddCount", Bytes(L"a\0\0b\0"), {L"delete a", L"unclear b"}, 1},
                    ListRow{"SourceThatEndsAbruptly", Bytes(L"a\0\0b"), {L"delete a", L"unclear b"}, 1},
                    ListRow{"GoesOnBehindItsEnd", Bytes(L"a\0\0\0b\0\0\0"), {L"delete a", L"delete b"}, 1},
                    ListRow{"HalfACharacter", WithHalfACharacter(Bytes(L"a\0\0\0")), {L"delete a"}, 1},
                    ListRow{"OneByte", WithHalfACharacter({}), {}, 1}),
    [](const auto& row) { return row.param.name; });

TEST(WithoutEntriesTest, AllOthersKeepTheirBytesAndTheirOrder)
{
    const ByteVector data = Bytes(L"b\0\0A\0!c\0b\0\0a\0\0\0");
    const std::vector<PendingEntry> entries = ReadPendingList(data).entries;

    EXPECT_EQ(Bytes(L"A\0!c\0b\0\0a\0\0\0"), WithoutEntries(data, {entries[0]}));
    EXPECT_EQ(Bytes(L"b\0\0A\0!c\0a\0\0\0"), WithoutEntries(data, {entries[2]}));
    EXPECT_EQ(Bytes(L"b\0\0A\0!c\0\0"), WithoutEntries(data, {entries[2], entries[3]}));
    EXPECT_EQ(data, WithoutEntries(data, {}));
}

TEST(WithoutEntriesTest, NothingIsLeftOfAListWithoutEntries)
{
    const ByteVector data = Bytes(L"a\0\0b\0\0\0");

    EXPECT_THAT(WithoutEntries(data, ReadPendingList(data).entries), IsEmpty());
}

TEST(WithoutEntriesTest, WhatStandsBehindTheEndMarkStaysThere)
{
    const ByteVector data = Bytes(L"a\0\0\0b\0\0\0");

    EXPECT_EQ(Bytes(L"\0b\0\0\0"), WithoutEntries(data, {ReadPendingList(data).entries[0]}));
}

TEST(WithoutEntriesTest, ListThatLostItsLastEntryHasItsEndMark)
{
    for (const ByteVector& data :
         {Bytes(L"a\0\0b\0"), Bytes(L"a\0\0b"), Bytes(L"a\0\0b\0\0"), WithHalfACharacter(Bytes(L"a\0\0b\0\0"))})
        EXPECT_EQ(Bytes(L"a\0\0\0"), WithoutEntries(data, {ReadPendingList(data).entries[1]}));
}

TEST(WithoutEntriesTest, LastEntryThatBreaksOffStaysAsItIs)
{
    for (const ByteVector& last : {Bytes(L"b\0"), Bytes(L"b"), Bytes(L"b\0c"), Bytes(L"b\0!c")})
    {
        ByteVector data = Bytes(L"a\0\0");
        data.insert(data.end(), last.begin(), last.end());
        EXPECT_EQ(last, WithoutEntries(data, {ReadPendingList(data).entries[0]}));
    }
}

} // namespace
} // namespace prodsweep
