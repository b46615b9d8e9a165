// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
// What was written is read back before it gets its name: whatever is not as planned is refused as an output.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "command/support/Command.h"
#include "command/support/TiffMaker.h"
#include "system/Refusal.h"
#include "tiff/rewrite/OutputCheck.h"

namespace hueweave::test {
namespace {

using testing::HasSubstr;
using tool::Extent;
using tool::FileAccess;

class OutputCheckTest : public testing::Test {
protected:
    OutputCheckTest() {
        const std::uint64_t pixels = tiff_.Put(SmallPixels());
        const std::uint64_t profile = tiff_.Put("a profile");
        for (int i = 0; i < 2; ++i) {
            auto entries = TiffMaker::Small(pixels);
            entries.push_back({34675, 7, 9, profile});
            directory_ = tiff_.Page(entries);
        }
        tiff_.Save(path_);
        icc_ = std::make_shared<const tool::Bytes>(tool::Bytes{'a', ' ', 'p', 'r', 'o', 'f', 'i', 'l', 'e'});
        written_.assign(2, {{Extent{pixels, 48}}, icc_});
    }
    /// What is said of an output that has these bytes; empty if it is right.
    std::string Check(const std::string& output) {
        WriteBytes(folder_ / "out.tif", output);
        const FileAccess source = FileAccess::OpenInput(path_), target = FileAccess::OpenInput(folder_ / "out.tif");
        const tool::TiffStructure structure(source);
        try {
            CheckOutput(structure, ReadPages(structure), written_, moved_, target);
        } catch (const tool::Refusal& refusal) {
            EXPECT_EQ(refusal.status(), tool::Exit::Output);
            EXPECT_THAT(refusal.what(),
                        HasSubstr("out.tif: is not written, since it would not read back as planned ("));
            EXPECT_THAT(refusal.what(), HasSubstr("; "));
            return refusal.reason();
        }
        return {};
    }
    /// The output with the field of an entry of the second page changed; the entries are sorted by tag.
    std::string Changed(std::size_t entry, std::uint64_t value) {
        TiffMaker changed = tiff_;
        changed.Patch(directory_ + 2 + 12 * entry + 8, value);
        return changed.bytes();
    }
    Folder folder_;
    TiffMaker tiff_;
    std::uint64_t directory_ = 0;  ///< of the second page
    std::string path_ = folder_ / "in.tif";
    std::shared_ptr<const tool::Bytes> icc_;
    std::vector<tool::WrittenPage> written_;
    std::map<std::uint64_t, std::uint64_t> moved_;
};

TEST_F(OutputCheckTest, WhatIsAsPlannedIsTaken) { EXPECT_EQ(Check(tiff_.bytes()), ""); }

TEST_F(OutputCheckTest, AnotherShape) {
    EXPECT_THAT(Check(Changed(0, 3)), HasSubstr("a page has another shape"));  // width
    EXPECT_THAT(Check(Changed(1, 3)), HasSubstr("a page has another shape"));  // height
    EXPECT_THAT(Check(Changed(3, 8)), HasSubstr("a page has another shape"));  // compression
    EXPECT_THAT(Check(Changed(4, 1)), HasSubstr("holds grey pixels"));         // colours
    EXPECT_THAT(Check(Changed(8, 47)), HasSubstr("is cut: image data lie"));   // bytes of the strip
    EXPECT_THAT(Check(Changed(9, 2)), HasSubstr("lacks some of its strips"));  // planes
}

TEST_F(OutputCheckTest, AnotherPredictor) {
    TiffMaker::Shape shape;
    shape.compression = 8;
    shape.offsets = {written_[0].places[0].offset};
    shape.counts = {48};
    auto entries = TiffMaker::Rgb(shape);
    entries.push_back(TiffMaker::Short(317, 1));
    tiff_ = TiffMaker();
    tiff_.Put(SmallPixels());
    directory_ = tiff_.Page(entries);
    tiff_.Save(path_);
    written_.assign(1, {{Extent{shape.offsets[0], 48}}, nullptr});
    EXPECT_EQ(Check(tiff_.bytes()), "");
    EXPECT_THAT(Check(Changed(10, 2)), HasSubstr("a page has another shape"));
}

TEST_F(OutputCheckTest, AnotherPlaceOfImageData) {
    EXPECT_THAT(Check(Changed(5, 10)), HasSubstr("image data are at another place"));
    EXPECT_THAT(Check(Changed(8, 49)), HasSubstr("image data are at another place"));
}

TEST_F(OutputCheckTest, AnotherProfile) {
    std::string output = tiff_.bytes();
    output[output.find("a profile")] = 'A';
    EXPECT_THAT(Check(output), HasSubstr("a profile differs"));
    written_[1].icc = nullptr;
    EXPECT_THAT(Check(tiff_.bytes()), HasSubstr("a profile differs"));
    written_[1].icc = std::make_shared<const tool::Bytes>(8, 'a');
    EXPECT_THAT(Check(tiff_.bytes()), HasSubstr("a profile differs"));
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
