// SPDX-License-Identifier: MIT
// Directories that point to invalid places, into each other or out of the file, pages without a size, and profiles
// beyond a limit: refused when the structure is read, before any other code uses it.
#include <tuple>

#include "batch/file/plan/PageProfiles.h"
#include "command/support/Command.h"
#include "command/support/OpenedTiff.h"
#include "command/support/TiffMaker.h"
#include "tiff/PhotoshopResources.h"

namespace hueweave::test {
namespace {

using testing::EndsWith;
using tool::TiffStructure;

class StructureTest : public testing::Test {
protected:
    using Look = std::function<void(const TiffStructure&)>;
    /// The reason for which a file is refused while `look` runs on its structure; empty if it is not.
    std::string Reason(const TiffMaker& tiff, const Look& look = {}) {
        tiff.Save(path_);
        return ReasonOf([&] {
            const OpenedTiff opened(path_);
            if (look) look(opened.structure);
        });
    }
    /// The same for a page of these entries, after the contents of `tiff_`; by default, its pages are read.
    std::string ReasonOfPage(const Entries& entries, const Look& look = tool::ReadPages) {
        TiffMaker tiff = tiff_;
        tiff.Page(entries);
        return Reason(tiff, look);
    }
    Folder folder_;
    const std::string path_ = folder_ / "in.tif";
    TiffMaker tiff_;
    const std::uint64_t pixels_ = tiff_.Put(SmallPixels());
    const Entries small_ = TiffMaker::Small(pixels_);
};

TEST_F(StructureTest, AFileWithoutADirectoryHoldsNoImage) { EXPECT_EQ(Reason(tiff_), "holds no image"); }

TEST_F(StructureTest, DirectoriesDoNotOverlap) {
    // One of 18 bytes of which ten precede the page, so that its end overlaps it. One inside the page. And the upper
    // half of the header's own offset: no entries.
    const std::uint64_t before = tiff_.Put(Little({1}, 2) + std::string(8, '\0'));
    const std::uint64_t page = tiff_.Page(small_);
    ASSERT_LT(page, before + 18);
    for (const std::uint64_t below : {before, page + 6}) {
        TiffMaker tiff = tiff_;
        tiff.Patch(tiff.bytes().size() - 4, below);
        EXPECT_EQ(Reason(tiff), "has overlapping directories");
    }
    tiff_.First(6);
    EXPECT_EQ(Reason(tiff_), "has overlapping directories");
}

TEST_F(StructureTest, AnImageIsNoMetadata) {
    // The image of the same page and that of another one.
    constexpr const char* kBoth = "has a directory that is both an image and metadata";
    TiffMaker own = tiff_;
    const std::uint64_t page = own.Page(And(small_, TiffMaker::Long(34665, 0)));
    own.Patch(page + 2 + 12 * small_.size() + 8, page);
    EXPECT_EQ(Reason(own), kBoth);
    const std::uint64_t image = tiff_.Directory(small_);
    tiff_.First(tiff_.Directory(And(small_, TiffMaker::Long(34665, image)), image));
    EXPECT_EQ(Reason(tiff_), kBoth);
}

TEST_F(StructureTest, PagesDoNotLeadBackToEarlierOnes) {
    tiff_.Page(small_);
    const std::uint64_t second = tiff_.Page(small_);
    tiff_.Page(small_);
    tiff_.Patch(tiff_.bytes().size() - 4, second);
    EXPECT_EQ(Reason(tiff_), "has pages that lead back to earlier ones");
}

TEST_F(StructureTest, SubIfdsAreOneEntryOfIntegersAndCountedBeforeTheyAreRead) {
    const TiffMaker::Entry none{330, 0, 0, 0};
    EXPECT_EQ(ReasonOfPage(And(small_, none)), "has no integers in tag 330");
    EXPECT_EQ(ReasonOfPage(And(And(small_, TiffMaker::Long(330, 0)), none)), "has tag 330 twice");
    const auto below = [&](std::size_t count) {
        return ReasonOfPage(And(small_, TiffMaker::Longs(330, std::vector<std::uint64_t>(count, 0))));
    };
    EXPECT_EQ(below(65536), "");
    EXPECT_EQ(below(65537), "has too many directories in tag 330");
}

TEST_F(StructureTest, PagesShareADirectoryBelowThem) {
    const Entries entries = And(small_, TiffMaker::Long(330, tiff_.Directory(small_)));
    tiff_.Page(entries);
    EXPECT_EQ(ReasonOfPage(entries, [](const auto& structure) { EXPECT_EQ(structure.directories().size(), 3U); }), "");
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

TEST_F(StructureTest, NumbersBeyond64BitsDoNotWrap) {
    // In 64 bits, 2^62 entries of 20 bytes and 2^61 values of 8 bytes wrap to 0.
    TiffMaker entries(true);
    entries.First(entries.Put(Little({std::uint64_t{1} << 62}, 8) + std::string(100, '\0')));
    EXPECT_EQ(Reason(entries), "is truncated: a directory runs past its end");
    TiffMaker values(true);
    values.Page({{40000, 16, std::uint64_t{1} << 61, 0}});
    EXPECT_EQ(Reason(values), "is truncated: the value of tag 40000 lies past its end");
}

TEST_F(StructureTest, WhatIsReadOfAFileIsBounded) {
    // A value has 32 MiB at the most. It is read ten times; the limit is eight times the file size plus 64 MiB.
    constexpr std::uint64_t kMost = 32 << 20;
    tiff_.Page(And(And(small_, {40000, 7, kMost, 8}), {40001, 7, kMost + 1, 8}));
    tiff_.bytes().resize(kMost + 9);
    int reads = 0;
    const std::string reason = Reason(tiff_, [&](const TiffStructure& structure) {
        const auto& directory = structure.directories()[0];
        EXPECT_THAT(ReasonOf([&] { structure.Data(*directory.Find(40001)); }),
                    HasSubstr("too large a value in tag 40001"));
        for (; reads < 12; ++reads) EXPECT_EQ(structure.Data(*directory.Find(40000)).size(), kMost);
    });
    EXPECT_EQ(reason, "has too many entries that share their values");
    EXPECT_EQ(reads, 10);
}

TEST_F(StructureTest, AValueMayEndWhereTheFileEnds) {
    const std::uint64_t page = tiff_.Page(And(small_, {40000, 7, 8, 0}));
    const std::uint64_t last = tiff_.Put("the end.");
    const auto at = [&](std::uint64_t place) {
        tiff_.Patch(page + 2 + 12 * small_.size() + 8, place);
        return Reason(tiff_);
    };
    EXPECT_EQ(at(last), "");
    EXPECT_EQ(at(last + 1), "is truncated: the value of tag 40000 lies past its end");
}

TEST_F(StructureTest, MetadataOutsideTheFileOccupyNoSpaceInIt) {
    const std::uint64_t exif = tiff_.Directory(
        {{40000, 7, 100, 0x1000000}, TiffMaker::Long(513, 0x1000000), TiffMaker::Long(514, 100), {40961, 3, 0, 0}});
    const auto look = [](const TiffStructure& structure) {
        for (const auto& extent : structure.structure()) {
            EXPECT_LE(extent.offset, structure.fileSize());
            EXPECT_LE(extent.size, structure.fileSize() - extent.offset);
        }
        EXPECT_EQ(structure.exifColorSpace(), 0U);
    };
    EXPECT_EQ(ReasonOfPage(And(small_, TiffMaker::Long(34665, exif)), look), "");
}

TEST_F(StructureTest, MetadataBelowMetadataAreReadEightDeep) {
    std::uint64_t below = tiff_.Directory({TiffMaker::Short(40961, 2)});
    for (int depth = 1; depth <= 9; ++depth) {
        const Entries entries = And(small_, TiffMaker::Long(34665, below));
        const std::uint64_t wanted = depth <= 8 ? 2 : 0;
        EXPECT_EQ(ReasonOfPage(entries, [&](const auto& read) { EXPECT_EQ(read.exifColorSpace(), wanted); }), "");
        below = tiff_.Directory({TiffMaker::Long(34665, below)});
    }
}

TEST_F(StructureTest, AMaskMayHaveNoStripsAndCountsThoseThatItHas) {
    tiff_.Page(small_);
    const auto reason = [&](std::uint64_t strips) {
        const Entries mask{TiffMaker::Long(256, 4), TiffMaker::Long(257, 4), TiffMaker::Short(262, 4)};
        return ReasonOfPage(And(mask, {273, 1, strips, 0, std::string(strips, '\1')}));
    };
    EXPECT_EQ(reason(0), "");
    EXPECT_EQ(reason((std::uint64_t{2} << 20) - 1), "");
    EXPECT_EQ(reason(std::uint64_t{2} << 20), "has more than 2097152 strips or tiles");
}

TEST_F(StructureTest, PagesAndTheirPartsHaveASize) {
    const Entries tiled = TiffMaker::Rgb({.offsets = {pixels_}, .counts = {48}, .tileWidth = 4, .tileHeight = 4});
    ASSERT_EQ(ReasonOfPage(tiled), "");
    constexpr const char* kNoSize = "has strips or tiles without a size";
    const std::tuple<const Entries&, TiffMaker::Entry, const char*> rows[] = {
        {small_, TiffMaker::Long(256, 0), "has no size"},
        {small_, TiffMaker::Long(256, 0x80000000), "has no size"},
        {small_, TiffMaker::Long(257, 0), "has no size"},
        {small_, TiffMaker::Long(257, 0x80000000), "has no size"},
        {small_, TiffMaker::Long(278, 0), kNoSize},
        {tiled, TiffMaker::Long(322, 0), kNoSize},
        {tiled, TiffMaker::Long(322, 0x80000000), kNoSize},
        {tiled, TiffMaker::Long(323, 0), kNoSize},
        {tiled, TiffMaker::Long(323, 0x80000000), kNoSize},
        {tiled, TiffMaker::Short(32998, 2), "contains an image with several depth layers"},
        {small_, TiffMaker::Long(273, 0), "has an empty strip or tile"},
        {small_, TiffMaker::Long(279, 0), "has an empty strip or tile"},
        {small_, TiffMaker::Long(279, 47), "image data lie past the end of the file"},
        {small_, TiffMaker::Long(273, 0x10000000), "image data lie past the end of the file"},
    };
    for (const auto& [entries, changed, reason] : rows) {
        EXPECT_THAT(ReasonOfPage(With(entries, changed)), EndsWith(reason)) << changed.tag << " " << changed.value;
    }
}

TEST_F(StructureTest, APixelHas64SamplesAtMost) {
    const std::uint64_t at = tiff_.Put(std::string(65, 'x'));
    const auto reason = [&](unsigned samples) {
        return ReasonOfPage(TiffMaker::Rgb({1, 1, {at}, {samples}, 1, samples, 1, 1}));
    };
    EXPECT_EQ(reason(64), "");
    EXPECT_EQ(reason(65), "has 65 samples per pixel");
}

TEST_F(StructureTest, ProfilesStoredInTheirEntriesAreComparedByContent) {
    for (const char* profile : {"one!", "two!", "one!"}) tiff_.Page(And(small_, {34675, 7, 4, 0, profile}));
    const auto look = [](const TiffStructure& structure) {
        tool::DistinctProfiles profiles(structure);
        std::vector<std::size_t> numbers;
        for (const auto& directory : structure.directories()) {
            numbers.push_back(profiles.Find(*directory.Find(34675)).first);
        }
        EXPECT_EQ(numbers, (std::vector<std::size_t>{0, 1, 0}));
    };
    EXPECT_EQ(Reason(tiff_, look), "");
}

TEST_F(StructureTest, AnInvalidProfileIsRefusedOnEveryPageThatEmbedsIt) {
    const Entries entries = And(small_, {34675, 7, 10, tiff_.Put("no profile")});
    tiff_.Page(entries);
    const auto look = [](const TiffStructure& structure) {
        const auto pages = ReadPages(structure);
        tool::PageProfiles profiles(structure, pages);
        for (const std::size_t page : {0U, 1U, 0U}) EXPECT_THROW(profiles.Of(page), tool::Refusal);
    };
    EXPECT_EQ(ReasonOfPage(entries, look), "");
}

TEST_F(StructureTest, ResourcesAreLookedIntoUpToSixteenMebibytes) {
    for (const bool beyond : {false, true}) {
        const std::size_t size = (std::size_t{16} << 20) + (beyond ? 1 : 0);
        const auto look = [&](const TiffStructure& structure) {
            const tool::PhotoshopResources found(structure, structure.directories()[0]);
            EXPECT_EQ(found.tooLarge(), beyond);
        };
        EXPECT_EQ(ReasonOfPage(And(small_, {34377, 7, size, 0, std::string(size, 'x')}), look), "");
    }
}

}  // namespace
}  // namespace hueweave::test
