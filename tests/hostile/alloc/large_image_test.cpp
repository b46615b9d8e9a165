// SPDX-License-Identifier: MIT
// A new image of more than 4 GiB, on a machine with enough memory and on one without.
#include "hostile/Hostile.h"
#include "hostile/alloc/Heap.h"
#include "tiff/CTiff.h"

namespace hueweave::test {
namespace {

using Orvix_Tiff_STL2::CTiff;

constexpr int kWidth = 65536, kHeight = 65537;
constexpr std::size_t kBytes = 4295032832;  // the product, 65,536 more than 2^32

using LargeImageTest = HostileTest;

TEST_F(LargeImageTest, IsMadeWithAllItsPixels) {
    CTiff tiff;
    HeapWatch heap;
    heapState.fold = true;  // pages of a few megabytes, mapped repeatedly: a write in one place shows in others
    EXPECT_EQ(tiff.CreateNew(kWidth, kHeight, 72, 1, 8, 1), 0);
    EXPECT_EQ(heapState.largest, kBytes);
    heap.Stop();
    ASSERT_NE(tiff.GetImageBuf(), nullptr);
    EXPECT_EQ(tiff.ImageBytes(), kBytes);
    EXPECT_EQ(tiff.tags.size(), 15U);
    EXPECT_EQ(static_cast<std::uint32_t>(tiff.GetTagValue(Orvix_Tiff_STL2::kStripByteCounts)), 65536U);
    unsigned char* const last = tiff.GetXY(kWidth - 1, kHeight - 1);
    EXPECT_EQ(last, tiff.GetImageBuf() + kBytes - 1);
    EXPECT_EQ(*last, 0);
    tiff.SetXY(kWidth - 1, kHeight - 1, 7);
    EXPECT_EQ(*last, 7);

    // 194 bytes up to the data of the tags, two rationals, and as many image bytes as tag 279 says.
    const std::string path = dir_.File("large.tif");
    EXPECT_EQ(tiff.SaveFile(path.c_str()), 0);
    EXPECT_EQ(std::filesystem::file_size(path), 194U + 16U + 65536U);
}

TEST_F(LargeImageTest, ThrowsWithoutTheMemoryAndLeavesNothing) {
    CTiff tiff;
    ASSERT_EQ(tiff.CreateNew(2, 2, 72, 3, 8, 1), 0);
    HeapWatch heap(Fail::Large);
    EXPECT_THROW(tiff.CreateNew(kWidth, kHeight, 72, 1, 8, 1), std::bad_alloc);
    heap.Stop();
    EXPECT_EQ(heapState.largest, kBytes) << "all of it was asked for";
    EXPECT_TRUE(tiff.tags.empty());
    EXPECT_EQ(tiff.GetImageBuf(), nullptr);
    EXPECT_EQ(tiff.GetXY(0, 0), nullptr);
    EXPECT_EQ(tiff.CreateNew(5, 4, 72, 3, 8, 1), 0) << "and the next one is made";
    EXPECT_EQ(tiff.ImageBytes(), 60U);
}

}  // namespace
}  // namespace hueweave::test
