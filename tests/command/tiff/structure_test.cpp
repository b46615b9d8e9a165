// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
// Directories that lead nowhere, into each other or out of the file, pages without a size, and profiles beyond a limit:
// refused when they are read, before anything else looks at them.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "batch/file/PageProfiles.h"
#include "command/support/Command.h"
#include "command/support/TiffMaker.h"
#include "system/Refusal.h"
#include "tiff/PhotoshopResources.h"

namespace hueweave::test {
namespace {

using Entries = std::vector<TiffMaker::Entry>;
using testing::EndsWith;
using testing::HasSubstr;
using tool::FileAccess;
using tool::TiffStructure;

class StructureTest : public testing::Test {
protected:
    /// The reason for which a file is refused when `look` is done with its structure; empty if it is not.
    template <typename Look>
    std::string Reason(const TiffMaker& tiff, const Look& look) {
        tiff.Save(path_);
        try {
            const FileAccess file = FileAccess::OpenInput(path_);
            const TiffStructure structure(file);
            look(structure);
        } catch (const tool::Refusal& refusal) {
            return refusal.reason();
        }
        return {};
    }
    std::string Reason(const TiffMaker& tiff) {
        return Reason(tiff, [](const TiffStructure&) {});
    }
    /// The same, of its pages.
    std::string ReasonOfPages(const TiffMaker& tiff) {
        return Reason(tiff, [](const TiffStructure& structure) { ReadPages(structure); });
    }
    /// A page of these entries, without one of a tag that comes twice.
    std::string ReasonOfPage(Entries entries, const Entries& changed) {
        for (const auto& entry : changed) {
            std::erase_if(entries, [&](const auto& old) { return old.tag == entry.tag; });
            entries.push_back(entry);
        }
        TiffMaker tiff = tiff_;
        tiff.Page(entries);
        return ReasonOfPages(tiff);
    }
    Folder folder_;
    const std::string path_ = folder_ / "in.tif";
    TiffMaker tiff_;
    const std::uint64_t pixels_ = tiff_.Put(SmallPixels());
    const Entries small_ = TiffMaker::Small(pixels_);
};

TEST_F(StructureTest, AFileWithoutADirectoryHoldsNoImage) { EXPECT_EQ(Reason(tiff_), "holds no image"); }

TEST_F(StructureTest, DirectoriesDoNotLieOverEachOther) {
    // Of 18 bytes, of which ten stand there: its end lies over the page. And one within the page.
    const std::uint64_t before = tiff_.Put(Little({1}, 2) + std::string(8, '\0'));
    const std::uint64_t page = tiff_.Page(small_);
    ASSERT_LT(page, before + 18);
    for (const std::uint64_t below : {before, page + 6}) {
        TiffMaker tiff = tiff_;
        tiff.Patch(tiff.bytes().size() - 4, below);
        EXPECT_EQ(Reason(tiff), "has directories that lie over each other");
    }
}

TEST_F(StructureTest, AnImageIsNoMetadata) {
    Entries entries = small_;
    entries.push_back(TiffMaker::Long(34665, 0));
    const std::uint64_t page = tiff_.Page(entries);
    tiff_.Patch(page + 2 + 12 * small_.size() + 8, page);
    EXPECT_EQ(Reason(tiff_), "has a directory that is an image and metadata at once");
}

TEST_F(StructureTest, PagesShareADirectoryBelowThem) {
    Entries entries = small_;
    entries.push_back(TiffMaker::Long(330, tiff_.Directory(small_)));
    for (int page = 0; page < 2; ++page) tiff_.Page(entries);
    EXPECT_EQ(Reason(tiff_, [](const auto& structure) { EXPECT_EQ(structure.directories().size(), 3U); }), "");
}

TEST_F(StructureTest, DirectoriesBelowADirectoryAreCountedBeforeTheyAreRead) {
    for (const bool beyond : {false, true}) {
        TiffMaker tiff = tiff_;
        Entries entries = small_;
        entries.push_back(TiffMaker::Longs(330, std::vector<std::uint64_t>(65536 + (beyond ? 1 : 0), 0)));
        tiff.Page(entries);
        EXPECT_EQ(Reason(tiff), beyond ? "has too many directories in tag 330" : "");
    }
}

TEST_F(StructureTest, EntriesOfAllDirectoriesTogetherAreBounded) {
    for (const bool beyond : {false, true}) {
        TiffMaker tiff;
        std::uint64_t at = 8;
        for (int page = 0; page < 17; ++page) {
            const std::size_t entries = page < 16 ? 65535 : beyond ? 17 : 16;
            tiff.Patch(at - 4, at);
            tiff.bytes() += Little({entries}, 2) + std::string(12 * entries + 4, '\0');
            at = tiff.bytes().size();
        }
        EXPECT_EQ(Reason(tiff), beyond ? "has more than 1048576 entries in its directories" : "");
    }
}

TEST_F(StructureTest, NumbersBeyond64BitsAreNoSmallOnes) {
    // 2^62 entries of 20 bytes, and 2^61 values of 8, are 0 bytes in 64 bits.
    TiffMaker entries(true);
    entries.First(entries.Put(Little({std::uint64_t{1} << 62}, 8) + std::string(100, '\0')));
    EXPECT_EQ(Reason(entries), "is cut: a directory runs past its end");
    TiffMaker values(true);
    values.Page({{40000, 16, std::uint64_t{1} << 61, 0}});
    EXPECT_EQ(Reason(values), "is cut: the value of tag 40000 lies past its end");
}

TEST_F(StructureTest, WhatIsReadOfAFileIsBoundedByItsSize) {
    // A value of 32 MiB is read ten times: eight times the file, and 64 MiB.
    Entries entries = small_;
    entries.push_back({40000, 7, std::uint64_t{32} << 20, 8});
    tiff_.Page(entries);
    tiff_.bytes().resize((std::size_t{32} << 20) + 8);
    const std::string reason = Reason(tiff_, [](const TiffStructure& structure) {
        const tool::TiffEntry& entry = *structure.directories()[0].Find(40000);
        for (int times = 0; times < 10; ++times) ASSERT_NO_THROW(structure.Data(entry)) << times;
        structure.Data(entry);
    });
    EXPECT_EQ(reason, "has too many entries that share their values");
}

TEST_F(StructureTest, AValueMayEndWhereTheFileEnds) {
    for (const bool beyond : {false, true}) {
        TiffMaker tiff = tiff_;
        Entries entries = small_;
        entries.push_back({40000, 7, 8, 0});
        const std::uint64_t page = tiff.Page(entries);
        const std::uint64_t last = tiff.Put("the end.");
        tiff.Patch(page + 2 + 12 * small_.size() + 8, last + (beyond ? 1 : 0));
        EXPECT_EQ(Reason(tiff), beyond ? "is cut: the value of tag 40000 lies past its end" : "");
    }
}

TEST_F(StructureTest, MetadataThatLeadOutOfTheFileTakeNoPlaceOfIt) {
    Entries entries = small_;
    entries.push_back(TiffMaker::Long(34665, tiff_.Directory({{40000, 7, 100, 0x1000000},
                                                              TiffMaker::Long(513, 0x1000000),
                                                              TiffMaker::Long(514, 100),
                                                              {40961, 3, 0, 0}})));
    tiff_.Page(entries);
    EXPECT_EQ(Reason(tiff_,
                     [](const auto& structure) {
                         for (const auto& extent : structure.structure()) {
                             EXPECT_LE(extent.offset, structure.fileSize());
                             EXPECT_LE(extent.size, structure.fileSize() - extent.offset);
                         }
                         EXPECT_EQ(structure.exifColorSpace(), 0U);
                     }),
              "");
}

TEST_F(StructureTest, MetadataBelowMetadataAreReadEightDeep) {
    for (const int depth : {8, 9}) {
        TiffMaker tiff = tiff_;
        std::uint64_t below = tiff.Directory({TiffMaker::Short(40961, 2)});
        for (int i = 1; i < depth; ++i) below = tiff.Directory({TiffMaker::Long(34665, below)});
        Entries entries = small_;
        entries.push_back(TiffMaker::Long(34665, below));
        tiff.Page(entries);
        const std::uint64_t wanted = depth == 8 ? 2 : 0;
        EXPECT_EQ(Reason(tiff, [&](const auto& structure) { EXPECT_EQ(structure.exifColorSpace(), wanted); }), "");
    }
}

TEST_F(StructureTest, AMaskMayHaveNoStripsAndCountsThoseThatItHas) {
    const auto mask = [](std::uint64_t strips) {
        return Entries{TiffMaker::Long(256, 4),
                       TiffMaker::Long(257, 4),
                       TiffMaker::Short(262, 4),
                       {273, 1, strips, 0, std::string(strips, '\1')}};
    };
    const auto reason = [&](std::uint64_t strips) {
        TiffMaker tiff = tiff_;
        tiff.Page(small_);
        tiff.Page(mask(strips));
        return ReasonOfPages(tiff);
    };
    EXPECT_EQ(reason(0), "");
    EXPECT_EQ(reason((std::uint64_t{2} << 20) - 1), "");
    EXPECT_EQ(reason(std::uint64_t{2} << 20), "has more than 2097152 strips or tiles");
}

TEST_F(StructureTest, PagesAndTheirPartsHaveASize) {
    for (const unsigned side : {256U, 257U}) {
        for (const std::uint64_t size : {std::uint64_t{0}, std::uint64_t{0x80000000}}) {
            EXPECT_THAT(ReasonOfPage(small_, {TiffMaker::Long(side, size)}), EndsWith("has no size"));
        }
    }
    EXPECT_THAT(ReasonOfPage(small_, {TiffMaker::Long(278, 0)}), EndsWith("has strips or tiles without a size"));
    TiffMaker::Shape shape;
    shape.offsets = {pixels_};
    shape.counts = {48};
    shape.tileWidth = shape.tileHeight = 4;
    const Entries tiled = TiffMaker::Rgb(shape);
    ASSERT_EQ(ReasonOfPage(tiled, {}), "");
    for (const unsigned side : {322U, 323U}) {
        for (const std::uint64_t size : {std::uint64_t{0}, std::uint64_t{0x80000000}}) {
            EXPECT_THAT(ReasonOfPage(tiled, {TiffMaker::Long(side, size)}),
                        EndsWith("has strips or tiles without a size"));
        }
    }
    EXPECT_THAT(ReasonOfPage(tiled, {TiffMaker::Short(32998, 2)}), EndsWith("holds a body of several layers"));
    EXPECT_THAT(ReasonOfPage(small_, {TiffMaker::Long(279, 0)}), EndsWith("has an empty strip or tile"));
    EXPECT_THAT(ReasonOfPage(small_, {TiffMaker::Long(273, 0)}), EndsWith("has an empty strip or tile"));
    EXPECT_THAT(ReasonOfPage(small_, {TiffMaker::Long(279, 47)}), HasSubstr("image data lie past the end"));
    EXPECT_THAT(ReasonOfPage(small_, {TiffMaker::Long(273, 0x10000000)}), HasSubstr("image data lie past the end"));
}

TEST_F(StructureTest, AsManySamplesAsABitOfAWordEach) {
    for (const unsigned samples : {64U, 65U}) {
        TiffMaker::Shape shape;
        shape.width = shape.height = shape.rows = 1;
        shape.samples = samples;
        shape.offsets = {tiff_.Put(std::string(65, 'x'))};
        shape.counts = {samples};
        EXPECT_EQ(ReasonOfPage(TiffMaker::Rgb(shape), {}), samples == 64 ? "" : "has 65 samples a pixel");
    }
}

TEST_F(StructureTest, StripsDoNotShareFarMoreDataThanTheFileHas) {
    constexpr std::size_t kSize = std::size_t{600} << 10;  // four times as much is more than the file and 1 MiB
    TiffMaker::Shape shape;
    const std::uint64_t data = tiff_.Put(std::string(kSize, 'x'));
    shape.compression = 8;
    for (const std::uint64_t rows : {2U, 1U}) {
        shape.rows = rows;
        shape.offsets.assign(4 / rows, data);
        shape.counts.assign(4 / rows, kSize);
        EXPECT_EQ(ReasonOfPage(TiffMaker::Rgb(shape), {}),
                  rows == 2 ? "" : "has strips or tiles that share far more data than their pixels take");
    }
}

TEST_F(StructureTest, ProfilesOfAllPagesTogetherAreBounded) {
    constexpr std::size_t kHalf = std::size_t{16} << 20;
    for (const bool beyond : {false, true}) {
        TiffMaker tiff = tiff_;
        for (int page = 0; page < 2; ++page) {
            Entries entries = small_;
            const std::size_t size = kHalf + (beyond && page == 1 ? 1 : 0);
            entries.push_back({34675, 7, size, 0, std::string(size, static_cast<char>('a' + page))});
            tiff.Page(entries);
        }
        const std::string reason = Reason(tiff, [](const TiffStructure& structure) {
            tool::DistinctProfiles profiles(structure);
            for (const auto& directory : structure.directories()) profiles.Find(*directory.Find(34675));
        });
        EXPECT_EQ(reason, beyond ? "embeds more than 16 different profiles, or more than 32 MiB of them" : "");
    }
}

TEST_F(StructureTest, ProfilesThatStandInTheirEntriesHaveNoPlaceInCommon) {
    for (const char* profile : {"one!", "two!", "one!"}) {
        Entries entries = small_;
        entries.push_back({34675, 7, 4, 0, profile});
        tiff_.Page(entries);
    }
    std::vector<std::size_t> numbers;
    EXPECT_EQ(Reason(tiff_,
                     [&](const TiffStructure& structure) {
                         tool::DistinctProfiles profiles(structure);
                         for (const auto& directory : structure.directories()) {
                             numbers.push_back(profiles.Find(*directory.Find(34675)).first);
                         }
                     }),
              "");
    EXPECT_EQ(numbers, (std::vector<std::size_t>{0, 1, 0}));
}

TEST_F(StructureTest, AProfileThatIsNoneIsRefusedOnEveryPageThatEmbedsIt) {
    const std::uint64_t profile = tiff_.Put("no profile");
    for (int page = 0; page < 2; ++page) {
        Entries entries = small_;
        entries.push_back({34675, 7, 10, profile});
        tiff_.Page(entries);
    }
    EXPECT_EQ(Reason(tiff_,
                     [](const TiffStructure& structure) {
                         const auto pages = ReadPages(structure);
                         tool::PageProfiles profiles(structure, pages);
                         for (const std::size_t page : {0U, 1U, 0U}) EXPECT_THROW(profiles.Of(page), tool::Refusal);
                     }),
              "");
}

TEST_F(StructureTest, ResourcesAreLookedIntoUpToSixteenMebibytes) {
    for (const bool beyond : {false, true}) {
        TiffMaker tiff = tiff_;
        Entries entries = small_;
        const std::size_t size = (std::size_t{16} << 20) + (beyond ? 1 : 0);
        entries.push_back({34377, 7, size, 0, std::string(size, 'x')});
        tiff.Page(entries);
        EXPECT_EQ(Reason(tiff,
                         [&](const TiffStructure& structure) {
                             const tool::PhotoshopResources found(structure, structure.directories()[0]);
                             EXPECT_EQ(found.tooLarge(), beyond);
                         }),
                  "");
    }
}

}  // namespace
}  // namespace hueweave::test
