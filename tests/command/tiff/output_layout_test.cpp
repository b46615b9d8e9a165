// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
// Where encoded image data go: into the place of the old ones as one stretch, and to the end where they do not fit.
#include <gtest/gtest.h>
#include <tiff.h>

#include "command/support/Command.h"
#include "command/support/TiffMaker.h"
#include "tiff/rewrite/OutputLayout.h"

namespace hueweave::test {
namespace {

/// A page of two strips with so many bytes between them, and behind it a page that is plain; then Place() for each
/// size.
std::vector<std::uint64_t> Places(const std::string& between, const std::vector<std::uint64_t>& sizes) {
    const Folder folder;
    TiffMaker tiff;
    const std::uint64_t first = tiff.Put(std::string(100, 'a') + between + std::string(100, 'b'));
    TiffMaker::Shape shape{4, 4, {first, first + 100 + between.size()}, {100, 100}};
    shape.compression = COMPRESSION_LZW;
    shape.rows = 2;
    const std::uint64_t plain = tiff.Put(SmallPixels());
    tiff.Page(TiffMaker::Rgb(shape));
    tiff.Page(TiffMaker::Small(plain));
    tiff.Save(folder / "in.tif");
    const tool::FileAccess file = tool::FileAccess::OpenInput(folder / "in.tif");
    const tool::TiffStructure structure(file);
    const std::vector<tool::TiffPage> pages = tool::ReadPages(structure);
    tool::OutputLayout layout(structure, pages);
    EXPECT_EQ(layout.PlaceAgain(1, 0), plain);
    std::vector<std::uint64_t> places;
    for (const std::uint64_t size : sizes) {
        // From the first strip on; the end of the file as 0.
        const std::uint64_t place = layout.Place(size);
        places.push_back(place >= file.Size() ? 0 : place - first + 1);
    }
    return places;
}

using Numbers = std::vector<std::uint64_t>;

TEST(OutputLayoutTest, StripsThatTouchAreOneStretch) {
    EXPECT_EQ(Places("", {200}), (Numbers{1}));
    EXPECT_EQ(Places("", {150, 50}), (Numbers{1, 151}));
    EXPECT_EQ(Places("", {202}), (Numbers{0}));
}

TEST(OutputLayoutTest, APaddingOfThreeBytesJoinsThemAndFourDoNot) {
    EXPECT_EQ(Places("123", {203}), (Numbers{1}));
    EXPECT_EQ(Places("1234", {204}), (Numbers{0}));
    EXPECT_EQ(Places("1234", {100, 100}), (Numbers{1, 105}));
    EXPECT_EQ(Places("1234", {101, 100, 100}), (Numbers{0, 1, 105}));
}

}  // namespace
}  // namespace hueweave::test
