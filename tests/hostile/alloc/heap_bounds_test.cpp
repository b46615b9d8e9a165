// SPDX-License-Identifier: MIT
// Limits on the heap use of every call, whatever the file.
#include "hostile/Hostile.h"
#include "hostile/alloc/Heap.h"
#include "support/ProfileBuilder.h"
#include "support/TiffBuilder.h"

namespace hueweave::test {
namespace {

constexpr std::int64_t kMiB = std::int64_t{1} << 20;

/// The header of a curved table whose five parts all overlap in a block of `bytes` bytes.
Bytes OverlaidParts(std::size_t bytes, unsigned points, unsigned precision) {
    ByteWriter out;
    out.Text("mAB ").Big32(0).U8(3).U8(3).Big16(0);
    for (const std::uint32_t offset : {36U, 0U, 36U, 64U, 36U}) out.Big32(offset);
    out.Fill(4).Text("curv").Big32(0).Big32(static_cast<std::uint32_t>(bytes / 2));
    out.Fill(64 - out.Size()).Fill(16, points).U8(precision);
    return out.Done();
}

/// A curved table in a block of `bytes` bytes. Its grid covers all of them, and so do its curves, three times over.
Bytes TurnedTable(std::size_t bytes) {
    int points = 2;
    while (static_cast<std::size_t>(6 * (points + 1) * (points + 1) * (points + 1)) + 56 <= bytes) ++points;
    const std::size_t entries = (bytes - 56) / 6 - 7;
    ByteWriter out;
    out.Text("mAB ").Big32(0).U8(3).U8(3).Big16(0);
    for (const std::uint32_t offset : {56U, 0U, 0U, 36U, 56U}) out.Big32(offset);
    out.Fill(4).Fill(16, static_cast<unsigned>(points)).U8(2).Fill(3);
    for (int curve = 0; curve < 3; ++curve) {
        const std::size_t start = out.Size();
        out.Fill(8, 0xff).Big32(static_cast<std::uint32_t>(entries));
        out.Fill(14 + 2 * entries - (out.Size() - start), 0xff);
    }
    return out.Done();
}

std::vector<Bytes> Profiles() {
    constexpr std::size_t kLarge = std::size_t{4} << 20;
    std::vector<Bytes> files;
    // Entries of the largest accepted sizes, for files of 4 MiB, 1 MiB and 40,000 bytes.
    std::vector<std::string> luts, many(30000, "many");
    for (int i = 0; i < 120; ++i) luts.push_back(i % 3 == 0 ? "A2B0" : i % 3 == 1 ? "A2B1" : "A2B2");
    for (const std::size_t size : {std::size_t{40000}, std::size_t{1} << 20, kLarge}) {
        files.push_back(SharedBlock(std::max(size, std::size_t{400000}), many, Bytes(1, 0)));
        files.push_back(SharedBlock(size, std::vector<std::string>(120, "rTRC"),
                                    ByteWriter().Text("curv").Big32(0).Big32(0xffffffff).Done()));
        files.push_back(SharedBlock(size, std::vector<std::string>(120, "cprt"), Bytes(1, 0)));
        files.push_back(ManySmallTables(size, "A2B0"));
        files.push_back(SharedBlock(size, luts, OverlaidParts(size, 80, 2)));
        files.push_back(SharedBlock(size, luts, OverlaidParts(size, 40, 6)));
        for (const auto& [type, points, entries] : {std::tuple{"mft2", 33, 0x1000}, {"mft1", 70, 0x100}}) {
            const LutShape shape{.points = points, .inputEntries = entries, .outputEntries = entries};
            files.push_back(SharedBlock(size, luts, TableHead(type, shape, 0).Done()));
        }
    }
    // A table that is decoded to three times its block and converted to another table; in a file of 4 MiB, and in one
    // that is not held whole while it is read.
    for (const std::size_t size : {std::size_t{1} << 20, kLarge, 2 * kLarge}) {
        const std::size_t copies = size == 2 * kLarge ? 9 : size == kLarge ? 10 : 12;
        // The budget for all copies together allows this size: a block plus the overhead of a tag, times the number of
        // copies.
        const std::size_t block =
            std::min((8 * size + kLarge) / copies - 512, size - 132 - 12 * copies) & ~std::size_t{3};
        Bytes file =
            SharedBlock(132 + 12 * copies + block, std::vector<std::string>(copies, "A2B0"), TurnedTable(block));
        file.resize(size, 0xff);
        files.push_back(file);
        // The tag table fills the whole file, and the other entries point outside.
        files.push_back(ByteWriter().Append(file).PatchBig32(128, 0xffffffff).Done());
    }
    // A very large number of tags announced, and none present.
    files.push_back(ByteWriter().Fill(128).Big32(0xffffffff).Fill(kLarge, 0xff).Done());
    // Few inputs, so that a short grid announces the grid points of a large cube.
    for (const int inputs : {1, 2}) {
        LutShape shape{.inputs = inputs, .points = 255, .inputEntries = 3, .outputEntries = 3};
        const CurvedLutSpec narrow = Curved(MakeLut(shape, inputs), CurveLayout::Stepped);
        files.push_back(MiniProfile({{"A2B0", EncodeCurved(narrow)}}));
    }
    const Bytes sound = MiniProfile(EveryKindOfTag());
    for (std::size_t at = 128; at + 4 <= 132 + 12 * EveryKindOfTag().size() + 100; at += 4) {
        for (const std::uint32_t value : {0U, 0x7fffffffU, 0x80000000U, 0xfffffffcU, 0xffffffffU}) {
            files.push_back(ByteWriter().Append(sound).PatchBig32(at, value).Done());
        }
    }
    return files;
}

using HeapBoundsTest = HostileTest;

TEST_F(HeapBoundsTest, SetProfileTakes20MiBAnd34TimesItsFile) {
    std::int64_t most = 0, closest = INT64_MIN;
    for (const Bytes& file : Profiles()) {
        const std::string path = Put("bad.icc", file);
        for (const std::int32_t input : {0, 1}) {
            Empty();
            {
                const HeapWatch heap;
                Orvix_Icc_SetProfile(path.c_str(), nullptr, 0, input, 8 + input);
            }
            const std::int64_t peak = heapState.peak, own = 34 * static_cast<std::int64_t>(file.size());
            most = std::max(most, peak);
            closest = std::max(closest, peak - own);
            EXPECT_LE(peak, 20 * kMiB + own) << file.size() << " bytes";
        }
    }
    RecordProperty("MiB_beside_34_times_the_file", std::to_string(static_cast<double>(closest) / kMiB));
    EXPECT_GT(most, 8 * kMiB) << "the collection asks for something";
}

std::vector<Bytes> Images() {
    constexpr std::uint32_t kRoom = 8 << 20;
    std::vector<Bytes> files;
    const auto base = [](std::uint32_t side, unsigned bits) {
        return TiffBuilder().Long(256, side).Long(257, side).Short(258, bits).Long(278, side);
    };
    for (const std::size_t trailer : {std::size_t{0}, std::size_t{1} << 20}) {
        const Bytes rest(trailer, 7);
        // The longest strip, chunky and planar; planes of up to twice the strip's size.
        for (const unsigned planar : {1U, 2U}) {
            for (const std::uint32_t side : {100U, 1024U, 1600U, 1670U, 2000U, 2364U}) {
                for (const unsigned samples : {3U, 4U}) {
                    for (const unsigned bits : {8U, 16U}) {
                        TiffBuilder tiff = base(side, bits);
                        tiff.Short(277, samples).Short(284, planar).Long(273, 8);
                        tiff.Long(279, static_cast<std::uint32_t>(2 * trailer) + kRoom).Trailer(rest);
                        files.push_back(tiff.Build());
                    }
                }
            }
        }
        // The greatest number of tags, each as large as the file.
        TiffBuilder many = base(10, 8);
        for (unsigned tag = 0; tag < 25; ++tag) many.Entry(1000 + tag, 1, static_cast<std::uint32_t>(trailer + 200), 0);
        files.push_back(many.Trailer(rest).Build());
        // Exif entries with a greater announced size than their data.
        TiffBuilder exif = base(10, 8);
        for (unsigned i = 0; i < 20; ++i) exif.Entry(34665, 1, 0x00800000, 8);
        files.push_back(exif.Trailer(rest).Build());
        // A very large number of strips.
        TiffBuilder strips = base(10, 8);
        const auto count = static_cast<std::uint32_t>(trailer / 4 + 20);
        strips.Long(278, 1).Entry(273, 4, count, 8).Entry(279, 4, count, 8);
        files.push_back(strips.Trailer(Bytes(trailer, 0)).Build());
    }
    return files;
}

TEST_F(HeapBoundsTest, ConvertFileTakes24MiBAnd6TimesItsFile) {
    ASSERT_EQ(Bind(Good()), 8);
    std::int64_t most = 0;
    std::size_t row = 0;
    for (const Bytes& file : Images()) {
        SCOPED_TRACE(testing::Message() << "file " << row++ << " of " << file.size() << " bytes");
        const std::string path = Put("bad.tif", file);
        Printed([&] {
            const HeapWatch heap;
            Orvix_Icc_ConvertFile(path.c_str(), "/dev/null");
        });
        most = std::max(most, heapState.peak);
        EXPECT_LE(heapState.peak, 24 * kMiB + 6 * static_cast<std::int64_t>(file.size()));
        EXPECT_LE(heapState.used, 4096);
    }
    EXPECT_GT(most, 8 * kMiB) << "the collection asks for something";
}

TEST_F(HeapBoundsTest, Convert2TakesNothing) {
    for (const std::string& path : {Good(), Put("none.icc", MiniProfile({})),
                                    Put("bytes.icc", MiniProfile({{"A2B0", Mft1()}})), dir_.File("absent.icc")}) {
        for (const std::int32_t input : {0, 1}) {
            Bind(path, 0, input, 8 + input);
            Bytes pixels = SamplePixels(60000), other(60000);
            const HeapWatch heap;
            for (const std::int32_t count : {-1, 0, 1, 5, 63, 64, 65, 1000, 10000}) {
                Orvix_Icc_Convert2(pixels.data(), other.data(), count);
                Orvix_Icc_Convert2(pixels.data(), pixels.data(), count);
                Orvix_Icc_Convert2(nullptr, nullptr, count);
            }
            EXPECT_EQ(heapState.count, 0U) << path;
        }
    }
}

}  // namespace
}  // namespace hueweave::test
