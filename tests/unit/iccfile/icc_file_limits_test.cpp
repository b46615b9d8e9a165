// SPDX-License-Identifier: MIT
// Profiles that declare more than their file holds, on both sides of every limit.
#include "unit/iccfile/Blocks.h"

namespace hueweave::test::icc {
namespace {

class IccFile4Limits : public ProfileOnDisk {};

TEST_F(IccFile4Limits, CountsOnlyEntriesThatTheFileHoldsWhole) {
    struct Row {
        std::size_t bytes;  // of the tag table in the file
        std::uint32_t count;
        std::size_t tags;
    };
    for (const Row& row : {Row{0, 1, 0}, Row{11, 1, 0}, Row{12, 1, 1}, Row{13, 1, 1}, Row{23, 2, 1}, Row{24, 2, 2},
                           Row{25, 2, 2}, Row{36, 2, 2}, Row{36, 0, 0}, Row{35, 5, 2}, Row{36, 5, 3},
                           Row{36, 0xffffffffU, 3}, Row{36, 0x80000000U, 3},  // negative as a signed integer
                           Row{36, 0x15555556U, 3}}) {                        // 12 times that is 8 in 32 bits
        ByteWriter table;
        for (int i = 0; i < 3; ++i) table.Text("abcd").Big32(0).Big32(4);
        file.Reset();
        EXPECT_EQ(
            Read(ByteWriter().Append(NumberedHeader()).Big32(row.count).Append(Cut(table.Done(), row.bytes)).Done()),
            0);
        EXPECT_EQ(file.tagList.size(), row.tags) << row.count << " in " << row.bytes;
    }
}

TEST_F(IccFile4Limits, TakesNoTagsWithoutAWholeCount) {
    const Bytes bytes = ByteWriter().Append(NumberedHeader()).Big32(0x01010101U).Done();
    for (std::size_t size = 126; size <= 132; ++size) {
        EXPECT_EQ(Read(Cut(bytes, size)), 0);
        EXPECT_EQ(ReadFromMemory(Cut(bytes, size)), 0) << size;
        EXPECT_TRUE(file.tagList.empty()) << size;
    }
}

TEST_F(IccFile4Limits, LeavesOutAnEntryThatDoesNotLieInTheFile) {
    struct Row {
        std::uint32_t offset, size;
        bool taken;
    };
    constexpr std::uint32_t kEnd = 132 + 24 + 40;  // size of the file in bytes
    for (const Row& row :
         {Row{kEnd - 8, 7, true}, Row{kEnd - 8, 8, true}, Row{kEnd - 8, 9, false}, Row{kEnd - 5, 5, true},
          Row{kEnd - 5, 6, false}, Row{kEnd, 0, true}, Row{kEnd, 1, false}, Row{kEnd + 1, 0, false}, Row{0, kEnd, true},
          Row{0, kEnd + 1, false}, Row{0xffffffffU, 0, false}, Row{0xffffffffU, 5, false}, Row{0xfffffff8U, 16, false},
          Row{4, 0xfffffffcU, false}, Row{0, 0xffffffffU, false}, Row{200, 0xfffffffeU, false},
          Row{0, 0x80000000U, false}, Row{0x80000000U, 0x80000000U, false}}) {
        file.Reset();
        EXPECT_EQ(Read(ProfileOf({{"test", {}, row.offset, row.size}, {"next", Block("data", 40)}})), 0);
        EXPECT_EQ(Names(), row.taken ? (Strings{"test", "next"}) : (Strings{"next"}))
            << row.offset << " + " << row.size;
        EXPECT_EQ(DataOf(*file.GetTag(Name("next"))), Block("data", 40));
    }
}

TEST_F(IccFile4Limits, LetsTheRoundingReachPastTheFilesEnd) {
    for (std::uint32_t declared = 9; declared <= 12; ++declared) {
        Bytes bytes = ProfileOf({{"abcd", Block("data", 12), {}, declared}});
        file.Reset();
        EXPECT_EQ(Read(Cut(bytes, bytes.size() - (12 - declared))), 0);
        ASSERT_EQ(file.tagList.size(), 1U) << declared;
        EXPECT_EQ(DataOf(*file.tagList[0]), Cut(Cut(Block("data", 12), declared), 12)) << declared;
    }
}

TEST_F(IccFile4Limits, KeepsATagOfNoBytesWithTypeZero) {
    std::vector<TagEntry> tags;
    for (const char* name : {"chad", "A2B0", "B2A2", "wtpt", "rTRC", "desc", "cprt", "abcd"}) tags.push_back({name});
    Read(ProfileOf(tags));
    ASSERT_EQ(file.tagList.size(), tags.size());
    for (const auto& tag : file.tagList) {
        EXPECT_EQ(TypeOf(*tag), 0U);
        EXPECT_EQ(tag->tagSize, 0U);
        EXPECT_EQ(tag->reserved, 0U);
    }
}

/// Entries that all share one block, by which a small file could request any amount of memory. The sum of rounded
/// sizes, plus 256 bytes for each entry, may reach eight times the file size plus 4 MiB.
class SharedBlocks : public IccFile4Limits {
protected:
    static constexpr std::uint32_t kBlock = 40000, kShares = 112;

    /// The number of tags accepted from a table of `outside` entries outside the file, `kShares` of 40,000 bytes, and
    /// `last`.
    std::size_t Taken(std::uint32_t outside, const std::vector<std::uint32_t>& last) {
        std::vector<std::uint32_t> sizes(outside, kBlock + 1);
        sizes.insert(sizes.end(), kShares, kBlock);
        sizes.insert(sizes.end(), last.begin(), last.end());
        std::vector<TagEntry> entries;
        for (const std::uint32_t size : sizes) {
            entries.push_back({"abcd", {}, 132 + 12 * static_cast<std::uint32_t>(sizes.size()), size});
        }
        file.Reset();
        EXPECT_EQ(Read(ByteWriter().Append(ProfileOf(entries)).Append(Block("data", kBlock)).Done()), 0);
        return file.tagList.size();
    }
};

TEST_F(SharedBlocks, AreTakenUpToTheirLimit) {
    struct Row {
        std::uint32_t outside;
        std::vector<std::uint32_t> last;
        std::size_t taken;  ///< of the last entries
    };
    // 8 x (132 + 12 x 113 + 40,000) + 4 MiB - 112 x 40,256 - 256 = 17,280, and 96 more for each further entry.
    for (const Row& row : {Row{0, {17276}, 1}, Row{0, {17280}, 1}, Row{0, {17284}, 0}, Row{0, {17277}, 1},
                           Row{0, {17281}, 0},                                        // rounded up
                           Row{0, {17376 - 256, 0}, 2}, Row{0, {17376 - 252, 0}, 1},  // an empty entry counts, too
                           Row{0, {17380, 4}, 0}, Row{0, {4, 4}, 2},  // reading stops at the first one too long
                           Row{10, {17280 + 960}, 1}, Row{10, {17280 + 964}, 0}}) {  // entries outside do not count
        EXPECT_EQ(Taken(row.outside, row.last), kShares + row.taken) << row.outside << ", " << row.last[0];
    }
}

/// One table for every intent in both directions, with the names that other readers look for: valid, if unusual.
TEST_F(IccFile4Limits, KeepsAllTagsOfASoundProfileThatShareOneBlock) {
    const Bytes table = MftSpec{.out = 7, .points = 33}.Done();
    ASSERT_GT(table.size(), 500000U);
    const Strings names{"A2B0", "A2B1", "A2B2", "B2A0", "B2A1", "B2A2", "gamt", "pre0", "pre1", "pre2"};
    std::vector<TagEntry> entries;
    for (const std::string& name : names) {
        entries.push_back({name, {}, 132 + 12 * 10, static_cast<std::uint32_t>(table.size())});
    }
    EXPECT_EQ(Read(ByteWriter().Append(ProfileOf(entries)).Append(table).Done()), 0);
    EXPECT_EQ(Names(), names);
    for (const auto& tag : file.tagList) EXPECT_THAT(DataOf(*tag), EqualTo(Cut(table, RoundedUp(table.size()))));
}

TEST_F(IccFile4Limits, CountsAVeryShortTableAsTwoOtherTags) {
    // 8 x 240,132 bytes and 4 MiB are 6,115,360: room for 23,888 tags at 256, or for 11,944 at 512.
    constexpr std::uint32_t kMost = 20000;
    for (const auto& [name, taken] : {std::pair{"abcd", kMost}, {"A2B0", 11944U}, {"B2A2", 11944U}}) {
        ByteWriter bytes;
        bytes.Append(NumberedHeader()).Big32(kMost);
        for (std::uint32_t i = 0; i < kMost; ++i) bytes.Text(name).Big32(0).Big32(0);
        file.Reset();
        EXPECT_EQ(Read(bytes.Done()), 0);
        EXPECT_EQ(file.tagList.size(), taken) << name;
    }
}

}  // namespace
}  // namespace hueweave::test::icc
