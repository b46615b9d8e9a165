// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
// Numbers that are written into a directory keep the type of the entry, or get the next one that holds them.
#include <fcntl.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "command/support/Command.h"
#include "command/support/TiffMaker.h"
#include "tiff/rewrite/DirectoryWriter.h"

namespace hueweave::test {
namespace {

using tool::FileAccess;
using tool::TiffStructure;
constexpr std::uint16_t kTag = 279;
constexpr unsigned kByte = 1, kShort = 3, kLong = 4, kLong8 = 16;

TEST(DirectoryWriterTest, NumbersKeepTheTypeOrGetTheNextThatHoldsThem) {
    struct Row {
        unsigned before;
        std::uint64_t number;
        unsigned after;
    };
    const Folder folder;
    for (const Row& row :
         {Row{kByte, 0xff, kByte}, Row{kByte, 0x100, kShort}, Row{kByte, 0xffff, kShort}, Row{kByte, 0x10000, kLong},
          Row{kByte, 0xffffffff, kLong}, Row{kByte, 0x100000000, kLong8}, Row{kShort, 1, kShort},
          Row{kShort, 0xffff, kShort}, Row{kShort, 0x10000, kLong}, Row{kLong, 1, kLong}, Row{kLong, 0xffffffff, kLong},
          Row{kLong, 0x100000000, kLong8}, Row{kLong8, 1, kLong8}, Row{0, 1, kLong}, Row{0, 0x100000000, kLong8}}) {
        TiffMaker tiff(true);
        std::vector<TiffMaker::Entry> entries{TiffMaker::Long(256, 4), TiffMaker::Long(257, 4)};
        if (row.before != 0) entries.push_back({kTag, row.before, 1, 7});
        tiff.Page(entries);
        tiff.Save(folder / "in");
        const FileAccess source = FileAccess::OpenInput(folder / "in");
        const TiffStructure structure(source);
        std::vector<tool::TiffPage> pages(1);
        pages[0].mask = true;  // so that image data stay
        tool::OutputLayout layout(structure, pages);
        std::filesystem::copy_file(folder / "in", folder / "out", std::filesystem::copy_options::overwrite_existing);
        const FileAccess target(::open((folder / "out").c_str(), O_RDWR), "out");
        tool::DirectoryWriter writer(structure, layout, target);
        writer.SetNumbers(0, kTag, {0, row.number}, kLong);
        writer.Write();

        const TiffStructure written(target);
        const tool::TiffEntry* entry = written.directories()[0].Find(kTag);
        ASSERT_NE(entry, nullptr);
        EXPECT_EQ(entry->type, row.after) << row.before << " " << row.number;
        EXPECT_EQ(written.Numbers(*entry), (std::vector<std::uint64_t>{0, row.number}));
    }
}

}  // namespace
}  // namespace hueweave::test
