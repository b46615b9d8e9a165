// SPDX-License-Identifier: MIT
// Where encoded image data are written: over the old data as one range, or to the end of the file if they do not fit.
// The offsets and byte counts keep the type of their entry, or get the next larger one that holds them.
#include <fcntl.h>
#include <tiff.h>

#include "command/support/Command.h"
#include "command/support/OpenedTiff.h"
#include "command/support/TiffMaker.h"
#include "tiff/rewrite/DirectoryWriter.h"
#include "tiff/rewrite/OutputCheck.h"
#include "tiff/rewrite/OutputLayout.h"

namespace hueweave::test {
namespace {

using Numbers = std::vector<std::uint64_t>;

/// A page of two strips with the bytes `between` them, followed by a plain page; then the result of Place() for each
/// size, relative to the first strip, from 1 on; 0 for the end of the file.
Numbers Places(const std::string& between, const Numbers& sizes) {
    const Folder folder;
    TiffMaker tiff;
    const std::uint64_t first = tiff.Put(std::string(100, 'a') + between + std::string(100, 'b'));
    const std::uint64_t plain = tiff.Put(SmallPixels());
    tiff.Page(TiffMaker::Rgb({4, 4, {first, first + 100 + between.size()}, {100, 100}, COMPRESSION_LZW, 3, 1, 2}));
    tiff.Page(TiffMaker::Small(plain));
    tiff.Save(folder / "in.tif");
    const OpenedTiff opened(folder / "in.tif");
    const std::vector<tool::TiffPage> pages = ReadPages(opened.structure);
    tool::OutputLayout layout(opened.structure, pages);
    EXPECT_EQ(layout.PlaceAgain(1, 0), plain);
    Numbers places;
    for (const std::uint64_t size : sizes) {
        const std::uint64_t place = layout.Place(size);
        places.push_back(place >= opened.file.Size() ? 0 : place - first + 1);
    }
    return places;
}

TEST(OutputLayoutTest, AdjacentStripsAreMerged) {
    EXPECT_EQ(Places("", {200}), (Numbers{1}));
    EXPECT_EQ(Places("", {150, 50}), (Numbers{1, 151}));
    EXPECT_EQ(Places("", {202}), (Numbers{0}));
    // So are those with padding of up to three bytes between them.
    EXPECT_EQ(Places("123", {203}), (Numbers{1}));
    EXPECT_EQ(Places("1234", {204}), (Numbers{0}));
    EXPECT_EQ(Places("1234", {100, 100}), (Numbers{1, 105}));
    EXPECT_EQ(Places("1234", {101, 100, 100}), (Numbers{0, 1, 105}));
}

constexpr unsigned kByte = 1, kShort = 3, kLong = 4, kLong8 = 16;

TEST(DirectoryWriterTest, NumbersKeepTheTypeOrGetTheNextThatHoldsThem) {
    const Folder folder;
    const std::tuple<unsigned, std::uint64_t, unsigned> rows[] = {
        {kByte, 0xff, kByte},       {kByte, 0x100, kShort},
        {kByte, 0xffff, kShort},    {kByte, 0x10000, kLong},
        {kByte, 0xffffffff, kLong}, {kByte, 0x100000000, kLong8},
        {kShort, 1, kShort},        {kShort, 0xffff, kShort},
        {kShort, 0x10000, kLong},   {kLong, 1, kLong},
        {kLong, 0xffffffff, kLong}, {kLong, 0x100000000, kLong8},
        {kLong8, 1, kLong8},        {0, 1, kLong},
        {0, 0x100000000, kLong8}};
    for (const auto& [before, number, after] : rows) {
        TiffMaker tiff(true);
        Entries entries{TiffMaker::Long(256, 4), TiffMaker::Long(257, 4)};
        if (before != 0) entries.push_back({279, before, 1, 7});
        tiff.Page(entries);
        tiff.Save(folder / "in");
        const OpenedTiff source(folder / "in");
        std::vector<tool::TiffPage> pages(1);
        pages[0].other = tool::TiffPage::kMask;  // so that its image data stay
        tool::OutputLayout layout(source.structure, pages);
        WriteBytes(folder / "out", FileBytes(folder / "in"));
        const tool::FileAccess target(::open((folder / "out").c_str(), O_RDWR), "out");
        tool::DirectoryWriter writer(source.structure, layout, target);
        writer.SetNumbers(0, 279, {0, number}, kLong);
        writer.Write();

        const tool::TiffStructure written(target);
        const tool::TiffEntry* entry = written.directories()[0].Find(279);
        ASSERT_NE(entry, nullptr);
        EXPECT_EQ(entry->type, after) << before << " " << number;
        EXPECT_EQ(written.Numbers(*entry), (Numbers{0, number}));
    }
}

/// The written file is read back before it is named: any difference from the plan is an error of the output.
class OutputCheckTest : public testing::Test {
protected:
    OutputCheckTest() {
        const std::uint64_t pixels = tiff_.Put(SmallPixels());
        const Entries entries = And(TiffMaker::Small(pixels), {34675, 7, 9, tiff_.Put("a profile")});
        tiff_.Page(entries);
        directory_ = tiff_.Page(entries);
        tiff_.Save(path_);
        written_.assign(2, {false, {tool::Extent{pixels, 48}}, Bytes("a profile")});
    }
    static std::shared_ptr<const tool::Bytes> Bytes(const std::string& text) {
        return std::make_shared<const tool::Bytes>(text.begin(), text.end());
    }
    /// The message about an output with these bytes; empty if it is correct.
    std::string Check(const std::string& output) {
        WriteBytes(folder_ / "out.tif", output);
        const OpenedTiff source(path_);
        const tool::FileAccess target = tool::FileAccess::OpenInput(folder_ / "out.tif");
        try {
            CheckOutput(source.structure, ReadPages(source.structure), written_, moved_, target);
        } catch (const tool::Refusal& refusal) {
            EXPECT_EQ(refusal.status(), tool::Exit::Output);
            EXPECT_THAT(refusal.what(),
                        HasSubstr("out.tif: is not written, because it would not read back correctly ("));
            EXPECT_THAT(refusal.what(), HasSubstr("; "));
            return refusal.reason();
        }
        return {};
    }
    /// The output with one field of an entry of the second page changed; the entries are sorted by tag.
    std::string Changed(std::size_t entry, std::uint64_t value) {
        TiffMaker changed = tiff_;
        changed.Patch(directory_ + 2 + 12 * entry + 8, value);
        return changed.bytes();
    }
    Folder folder_;
    TiffMaker tiff_;
    std::uint64_t directory_ = 0;  ///< offset of the directory of the second page
    std::string path_ = folder_ / "in.tif";
    std::vector<tool::WrittenPage> written_;
    std::map<std::uint64_t, std::uint64_t> moved_;
};

TEST_F(OutputCheckTest, AFileAsPlannedIsAccepted) { EXPECT_EQ(Check(tiff_.bytes()), ""); }

TEST_F(OutputCheckTest, AnotherShapeOrPlace) {
    constexpr const char *kShape = "a page has another shape", *kPlace = "image data are at another place";
    const std::tuple<std::size_t, std::uint64_t, const char*> rows[] = {
        {0, 3, kShape},                           // width
        {1, 3, kShape},                           // height
        {3, 8, kShape},                           // compression
        {4, 1, kShape},                           // colours
        {5, 10, kPlace},                          // offset of the strip
        {8, 47, "is truncated: image data lie"},  // byte count of the strip
        {8, 49, kPlace},
        {9, 2, "lacks some of its strips"},  // planes
    };
    for (const auto& [entry, value, reason] : rows) EXPECT_THAT(Check(Changed(entry, value)), HasSubstr(reason));
}

TEST_F(OutputCheckTest, AnotherPredictor) {
    tiff_ = TiffMaker();
    const std::uint64_t pixels = tiff_.Put(SmallPixels());
    directory_ = tiff_.Page(And(TiffMaker::Rgb({4, 4, {pixels}, {48}, 8}), TiffMaker::Short(317, 1)));
    tiff_.Save(path_);
    written_.assign(1, {false, {tool::Extent{pixels, 48}}, nullptr});
    EXPECT_EQ(Check(tiff_.bytes()), "");
    EXPECT_THAT(Check(Changed(10, 2)), HasSubstr("a page has another shape"));
}

TEST_F(OutputCheckTest, AnotherProfile) {
    std::string output = tiff_.bytes();
    output[output.find("a profile")] = 'A';
    EXPECT_THAT(Check(output), HasSubstr("a profile differs"));
    for (const auto& other : {std::shared_ptr<const tool::Bytes>(), Bytes("aaaaaaaa")}) {
        written_[1].icc = other;
        EXPECT_THAT(Check(tiff_.bytes()), HasSubstr("a profile differs"));
    }
}

TEST_F(OutputCheckTest, OtherDirectories) {
    TiffMaker changed = tiff_;
    changed.First(directory_);
    EXPECT_THAT(Check(changed.bytes()), HasSubstr("it has other pages"));
    moved_[directory_] = directory_ + 2;
    EXPECT_THAT(Check(tiff_.bytes()), HasSubstr("a page is at another place"));
    EXPECT_THAT(Check(tiff_.bytes().substr(0, directory_ + 40)), HasSubstr("a directory runs past its end"));
    EXPECT_THAT(Check("no TIFF file"), HasSubstr("it is not a TIFF file"));
}

}  // namespace
}  // namespace hueweave::test
