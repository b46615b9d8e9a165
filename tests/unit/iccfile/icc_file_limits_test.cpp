// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
//
// Profiles that promise more than their file holds, on both sides of every limit.
#include <filesystem>

#include "unit/iccfile/Blocks.h"

namespace hueweave::test::icc {
namespace {

class IccFile4Limits : public ProfileOnDisk {};

TEST_F(IccFile4Limits, CountsOnlyEntriesThatTheFileHoldsWhole) {
    struct Row {
        std::size_t bytes;  // of table in the file
        std::uint32_t count;
        std::size_t tags;
    };
    for (const Row& row : {Row{0, 1, 0}, Row{11, 1, 0}, Row{12, 1, 1}, Row{13, 1, 1}, Row{23, 2, 1}, Row{24, 2, 2},
                           Row{25, 2, 2}, Row{36, 2, 2}, Row{36, 0, 0}, Row{35, 5, 2}, Row{36, 5, 3},
                           Row{36, 0xffffffffU, 3}, Row{36, 0x80000000U, 3},  // negative as a signed count
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
    constexpr std::uint32_t kEnd = 132 + 24 + 40;  // bytes in the file
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

TEST_F(IccFile4Limits, TakesBlocksBeforeAcrossAndBehindTheFirstFourMebibytes) {
    constexpr std::uint32_t kAhead = 4U << 20,
                            kEnd = 2 * kAhead + 10;  // of a large file the first 4 MiB are read at once
    struct Row {
        std::uint32_t offset, size;
    };
    const Row rows[] = {{kAhead - 8, 8}, {kAhead - 4, 8}, {kAhead, 8}, {kAhead - 5, 5}, {kAhead - 5, 6}, {kEnd - 2, 2}};
    std::vector<TagEntry> entries;
    for (const Row& row : rows) entries.push_back({"abcd", {}, row.offset, row.size});
    Bytes bytes = ProfileOf(entries);
    for (std::size_t i = bytes.size(); i < kEnd; ++i) bytes.push_back(static_cast<unsigned char>(i * 37 + i / 251));
    EXPECT_EQ(Read(bytes), 0);
    bytes.resize(kEnd + 4);  // what the rounding takes from behind the end
    ASSERT_EQ(file.tagList.size(), std::size(rows));
    for (std::size_t i = 0; i < std::size(rows); ++i) {
        EXPECT_EQ(DataOf(*file.tagList[i]), Part(bytes, rows[i].offset, RoundedUp(rows[i].size))) << i;
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
    EXPECT_EQ(Get<CCurveType>("rTRC").curveCount, 0U);
    EXPECT_EQ(Get<CTextDescriptionType>("desc").textLength, 0U);
    EXPECT_EQ(Get<CLut8Type>("A2B0").inputChan, 0);
}

/// Entries that all share one block, so that a small file could ask for any amount of memory. The sum of rounded
/// sizes, each with 256 bytes on top, may come to eight times the file and 4 MiB.
class SharedBlocks : public IccFile4Limits {
protected:
    static constexpr std::uint32_t kBlock = 40000, kShares = 112;

    static Bytes Profile(const std::vector<std::uint32_t>& sizes) {
        std::vector<TagEntry> entries;
        for (const std::uint32_t size : sizes) entries.push_back({"abcd", {}, 132 + 12 * Count(sizes), size});
        return ByteWriter().Append(ProfileOf(entries)).Append(Block("data", kBlock)).Done();
    }
    static std::uint32_t Count(const std::vector<std::uint32_t>& sizes) {
        return static_cast<std::uint32_t>(sizes.size());
    }
    /// The size of a tag behind `kShares` whole ones that just fits, in a table of `entries`.
    static std::uint32_t Rest(std::uint32_t entries) {
        return 8 * (132 + 12 * entries + kBlock) + (4U << 20) - kShares * (kBlock + 256) - 256;
    }
    std::size_t Taken(const std::vector<std::uint32_t>& last, std::uint32_t fromOutside = 0) {
        std::vector<std::uint32_t> sizes(fromOutside, kBlock + 1);
        sizes.insert(sizes.end(), kShares, kBlock);
        sizes.insert(sizes.end(), last.begin(), last.end());
        file.Reset();
        EXPECT_EQ(Read(Profile(sizes)), 0);
        return file.tagList.size();
    }
};

TEST_F(SharedBlocks, AreTakenUpToTheirLimit) {
    ASSERT_EQ(Rest(kShares + 1), 17280U);  // worked out by hand
    EXPECT_EQ(Taken({17276}), kShares + 1U);
    EXPECT_EQ(Taken({17280}), kShares + 1U);
    EXPECT_EQ(Taken({17284}), kShares);
}

TEST_F(SharedBlocks, CountWithTheirRoundedSize) {
    EXPECT_EQ(Taken({17277}), kShares + 1U);
    EXPECT_EQ(Taken({17281}), kShares);
}

TEST_F(SharedBlocks, CountABitEvenWithoutBytes) {
    const std::uint32_t rest = Rest(kShares + 2);
    EXPECT_EQ(Taken({rest - 256, 0}), kShares + 2U);
    EXPECT_EQ(Taken({rest - 252, 0}), kShares + 1U);
}

TEST_F(SharedBlocks, EndTheReadingWhereTheFirstExceedsTheLimit) {
    const std::uint32_t rest = Rest(kShares + 2);
    EXPECT_EQ(Taken({rest + 4, 4}), kShares);  // the last would fit
    EXPECT_EQ(Taken({4, 4}), kShares + 2U);
}

TEST_F(SharedBlocks, DoNotCountWhenLeftOut) {
    const std::uint32_t rest = Rest(kShares + 11);
    EXPECT_EQ(Taken({rest}, 10), kShares + 1U);
    EXPECT_EQ(Taken({rest + 4}, 10), kShares);
}

/// One table for every intent and both ways, with the names that other readers look for: sound, if unusual.
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

TEST_F(IccFile4Limits, TakesFromAFileCutAnywhereJustTheTagsThatAreWhole) {
    const std::vector<TagEntry> tags = EveryClass();
    const Bytes whole = ProfileOf(tags);
    WriteFile(path, whole);
    for (std::size_t size = whole.size() + 1; size-- > 0;) {
        std::filesystem::resize_file(path, size);
        Strings expected;
        std::size_t offset = 132 + 12 * tags.size();
        for (std::size_t i = 0; i < tags.size(); ++i) {
            if (132 + 12 * (i + 1) <= size && offset + tags[i].block.size() <= size) expected.push_back(tags[i].name);
            offset += RoundedUp(tags[i].block.size());
        }
        file.Reset();
        ASSERT_EQ(file.ReadFile(path.c_str()), 0) << size;
        ASSERT_EQ(Names(), expected) << size;
        for (std::size_t i = 0; i < expected.size(); ++i) {
            const std::size_t rounded = RoundedUp(tags[i].block.size());
            ASSERT_EQ(DataOf(*file.tagList[i]), Cut(tags[i].block, rounded)) << size << " " << tags[i].name;
        }
    }
}

TEST_F(IccFile4Limits, ReadsAProfileWithAnyByteChanged) {
    const Bytes whole = ProfileOf(EveryClass());
    for (std::size_t at = 128; at < whole.size(); ++at) {
        for (const unsigned mask : {0xffU, 0x80U, 0x01U}) {
            Bytes changed = whole;
            changed[at] = static_cast<unsigned char>(changed[at] ^ mask);
            file.Reset();
            ASSERT_EQ(ReadFromMemory(changed), 0) << at;
            ASSERT_LE(file.tagList.size(), (whole.size() - 132) / 12) << at;
            for (const auto& tag : file.tagList) {
                ASSERT_EQ(tag->tagSize % 4, 0U) << at;
                if (const auto* curved = dynamic_cast<const CLut*>(tag.get())) {
                    const CLut16Type converted(curved);
                    ASSERT_EQ(converted.inputTable == nullptr, converted.clutTable == nullptr) << at;
                }
            }
        }
    }
}

}  // namespace
}  // namespace hueweave::test::icc
