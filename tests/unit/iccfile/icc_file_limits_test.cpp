// SPDX-License-Identifier: MIT
// Profiles that declare more than their file holds, on both sides of every limit.
#include "unit/iccfile/Blocks.h"

namespace hueweave::test::icc {
namespace {

class IccFile4Limits : public ProfileOnDisk {};

TEST_F(IccFile4Limits, CountsOnlyEntriesThatAreCompletelyInTheFile) {
    ByteWriter table;
    for (int i = 0; i < 3; ++i) table.Text("abcd").Big32(0).Big32(4);
    // Negative as a signed integer, and 8 in 32 bits when it is multiplied by 12.
    for (const std::uint32_t count : {0U, 1U, 2U, 5U, 0xffffffffU, 0x80000000U, 0x15555556U}) {
        const Bytes bytes = ByteWriter().Append(NumberedHeader()).Big32(count).Append(table.Done()).Done();
        for (const std::size_t size :
             {126U, 127U, 128U, 129U, 130U, 131U, 132U, 143U, 144U, 145U, 155U, 156U, 157U, 167U, 168U}) {
            SCOPED_TRACE(testing::Message() << count << " in " << size);
            file.Reset();
            Read(Cut(bytes, size));
        }
    }
}

TEST_F(IccFile4Limits, LeavesOutAnEntryThatDoesNotLieInTheFile) {
    constexpr std::uint32_t kEnd = 132 + 24 + 40;  // size of the file in bytes
    using Row = std::pair<std::uint32_t, std::uint32_t>;
    for (const auto& [offset, size] :
         {Row{kEnd - 8, 7}, Row{kEnd - 8, 8}, Row{kEnd - 8, 9}, Row{kEnd - 5, 5}, Row{kEnd - 5, 6}, Row{kEnd, 0},
          Row{kEnd, 1}, Row{kEnd + 1, 0}, Row{0, kEnd}, Row{0, kEnd + 1}, Row{0xffffffffU, 0}, Row{0xffffffffU, 5},
          Row{0xfffffff8U, 16}, Row{4, 0xfffffffcU}, Row{0, 0xffffffffU}, Row{200, 0xfffffffeU}, Row{0, 0x80000000U},
          Row{0x80000000U, 0x80000000U}}) {
        SCOPED_TRACE(testing::Message() << offset << " + " << size);
        file.Reset();
        Read(ProfileOf({{"test", {}, offset, size}, {"next", Block("data", 40)}}));
    }
}

TEST_F(IccFile4Limits, KeepsATagOfNoBytesWithTypeZero) {
    Read(ProfileOf({{"chad"}, {"A2B0"}, {"B2A2"}, {"wtpt"}, {"rTRC"}, {"desc"}, {"cprt"}, {"abcd"}}));
}

/// A curve of size 0 reads as many entries as the bytes at its address declare, so it must not get the address of bytes
/// that are another tag's.
TEST_F(IccFile4Limits, ReadsNoCurveFromAnEmptyBlock) {
    Read(ProfileOf({{"gTRC", CurveBlock({1, 2, 3})}, {"rTRC", {}, 132 + 2 * 12, 0}}));
    EXPECT_THAT(EntriesOf(&Get<CCurveType>("gTRC")), EqualTo(Values{1, 2, 3}));
    EXPECT_EQ(Get<CCurveType>("rTRC").curveCount, 0U);
}

/// Entries that all share one block, by which a small file could request any amount of memory. The sum of rounded
/// sizes, plus 256 bytes for each entry, may reach eight times the file size plus 4 MiB.
TEST_F(IccFile4Limits, AcceptsSharedBlocksUpToALimit) {
    constexpr std::uint32_t kBlock = 40000, kShares = 112;
    struct Row {
        std::uint32_t outside;            ///< entries outside the file, in front of the shares
        std::vector<std::uint32_t> last;  ///< sizes of entries behind them
    };
    // 8 x (132 + 12 x 113 + 40,000) + 4 MiB - 112 x 40,256 - 256 = 17,280, and 96 more for each further entry.
    for (const Row& row :
         {Row{0, {17276}}, Row{0, {17280}}, Row{0, {17284}}, Row{0, {17277}}, Row{0, {17281}},  // rounded up
          Row{0, {17376 - 256, 0}}, Row{0, {17376 - 252, 0}},  // an empty entry counts, too
          Row{0, {17380, 4}}, Row{0, {4, 4}},                  // reading stops at the first one too long
          Row{10, {17280 + 960}}, Row{10, {17280 + 964}}}) {   // entries outside do not count
        SCOPED_TRACE(testing::Message() << row.outside << ", " << row.last[0]);
        std::vector<std::uint32_t> sizes(row.outside, kBlock + 1);
        sizes.insert(sizes.end(), kShares, kBlock);
        sizes.insert(sizes.end(), row.last.begin(), row.last.end());
        std::vector<TagEntry> entries;
        for (const std::uint32_t size : sizes) {
            entries.push_back({"abcd", {}, 132 + 12 * static_cast<std::uint32_t>(sizes.size()), size});
        }
        file.Reset();
        Read(ByteWriter().Append(ProfileOf(entries)).Append(Block("data", kBlock)).Done());
    }
}

/// One table for every intent in both directions, with the names that other readers look for: valid, if unusual.
TEST_F(IccFile4Limits, KeepsAllTagsOfASoundProfileThatShareOneBlock) {
    const Bytes table = MftSpec{.out = 7, .points = 33}.Done();
    ASSERT_GT(table.size(), 500000U);
    std::vector<TagEntry> entries;
    for (const char* name : {"A2B0", "A2B1", "A2B2", "B2A0", "B2A1", "B2A2", "gamt", "pre0", "pre1", "pre2"}) {
        entries.push_back({name, {}, 132 + 12 * 10, static_cast<std::uint32_t>(table.size())});
    }
    Read(ByteWriter().Append(ProfileOf(entries)).Append(table).Done());
    EXPECT_EQ(file.tagList.size(), 10U);
}

TEST_F(IccFile4Limits, CountsAVeryShortTableAsTwoOtherTags) {
    // 8 x 240,132 bytes and 4 MiB are 6,115,360: room for 23,888 tags at 256, or for 11,944 at 512.
    constexpr std::uint32_t kMost = 20000;
    for (const char* name : {"abcd", "A2B0", "B2A2"}) {
        ByteWriter bytes;
        bytes.Append(NumberedHeader()).Big32(kMost);
        for (std::uint32_t i = 0; i < kMost; ++i) bytes.Text(name).Big32(0).Big32(0);
        file.Reset();
        Read(bytes.Done());
    }
}

}  // namespace
}  // namespace hueweave::test::icc
