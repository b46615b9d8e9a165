// SPDX-License-Identifier: MIT
// No file of 1 MiB takes much longer than a valid one: a profile at most eight times as long as one of that size, an
// image at most three times as long as one of 10 MiB, the most that a file of 1 MiB can announce. Both are measured
// together, in processor time.
#include <ctime>
#include <limits>

#include "hostile/Hostile.h"
#include "support/TiffBuilder.h"

namespace hueweave::test {
namespace {

constexpr std::uint32_t kMiB = std::uint32_t{1} << 20;

class TimeTest : public HostileTest {
protected:
    /// Processor time of a call in seconds.
    static double Seconds(const std::function<void()>& call) {
        const std::clock_t before = std::clock();
        call();
        return static_cast<double>(std::clock() - before) / CLOCKS_PER_SEC;
    }
    /// Compares the shortest of several rounds, run alternately so that load on the machine slows both.
    static void ExpectAtMost(double times, int rounds, const std::string& name, const std::function<void()>& slow,
                             const std::function<void()>& sound) {
        double shortest = std::numeric_limits<double>::infinity(), longer = shortest;
        for (int round = 0; round < rounds; ++round) {
            shortest = std::min(shortest, Seconds(sound));
            longer = std::min(longer, Seconds(slow));
        }
        RecordProperty(name, std::to_string(longer / shortest));
        EXPECT_LE(longer, times * shortest) << name;
    }
};

/// A typical profile: a table of 33 grid points for every intent, and texts up to 1 MiB.
Bytes SoundProfile() {
    const Bytes table = Mft2(SmoothLut(33));
    const Bytes text = ByteWriter().Text("text").Fill(4).Fill(100000, 'c').Done();
    Bytes file = MiniProfile({{"A2B0", table}, {"A2B1", table}, {"A2B2", table}, {"cprt", text}, {"desc", text}});
    file.resize(kMiB);
    return file;
}

/// A profile of 1 MiB with `count` tag entries, whose blocks start alternately at `first` and `second`.
Bytes Shared(std::uint32_t count, std::string_view name, std::uint32_t size, std::uint32_t first,
             std::uint32_t second) {
    ByteWriter out;
    out.Fill(128).Big32(count);
    for (std::uint32_t i = 0; i < count; ++i) out.Text(name).Big32(i % 2 == 0 ? first : second).Big32(size);
    return out.Fill(kMiB - out.Size(), 0x63).Done();
}

std::vector<std::pair<std::string, Bytes>> SlowProfiles() {
    constexpr std::uint32_t most = (kMiB - 132) / 12;
    return {{"AsManyEmptyTagsAsFit", Shared(most, "none", 0, 0, 0)},
            {"AsManyShortTagsAsFit", Shared(most, "wtpt", 4, 200, 200)},
            {"AsManyTagsAtTheEndAsFit", Shared(most, "wtpt", 3, kMiB - 3, kMiB - 3)},
            // Reading ahead by a few bytes does not help.
            {"AsManyTagsFarApartAsFit", Shared(most, "wtpt", 20, 200, kMiB - 4000)},
            {"AsManyTagsOutsideAsFit", Shared(most, "wtpt", 4, 0xfffffff0, 0xfffffff0)},
            {"AsManySmallTablesAsFit", ManySmallTables(kMiB, "B2A1")},
            {"LongTags", Shared(12, "long", kMiB - 200, 200, 200)},
            {"LongTexts", Shared(12, "cprt", kMiB - 200, 200, 200)},
            {"MiddlingTags", Shared(2500, "some", 4900, 40000, 40000)},
            {"AllBytesAlike", Bytes(kMiB, 0x41)}};
}

TEST_F(TimeTest, OfAProfileIsNoMoreThanEightTimesThatOfASoundOne) {
    const auto bind = [](const std::string& path) {
        return [path] {
            Empty();
            Bind(path);
        };
    };
    const std::string sound = Put("sound.icc", SoundProfile());
    for (const auto& [name, file] : SlowProfiles()) ExpectAtMost(8, 15, name, bind(Put("slow.icc", file)), bind(sound));
}

constexpr std::uint32_t kMostStrips = 130000;  ///< offsets and byte counts, 8 bytes a strip, fit in 1 MiB

/// The offsets of the strips: `first` and `second` alternately. Each strip has `bytes` bytes.
struct Strips {
    const char* name;
    std::uint32_t count, bytes, first, second;
};

Bytes SlowImage(const Strips& strips) {
    std::vector<std::uint32_t> places;
    for (std::uint32_t i = 0; i < strips.count; ++i) places.push_back(i % 2 == 0 ? strips.first : strips.second);
    TiffBuilder tiff;
    tiff.Long(256, std::max(1U, strips.count * strips.bytes / 3 / 1000)).Long(257, 1000).Shorts(258, {8, 8, 8});
    tiff.Longs(273, places).Short(277, 3).Long(278, 1);
    tiff.Longs(279, std::vector<std::uint32_t>(strips.count, strips.bytes));
    return tiff.Trailer(Bytes(kMiB - tiff.Build().size(), 0x63)).Build();
}

/// One strip with the same bytes as most of the slow images.
Bytes SoundImage() {
    constexpr std::uint32_t kRows = 1000, kColumns = 10 * kMiB / 3 / kRows;
    return MiniTiff{kColumns, kRows, 3, 8, Bytes(std::size_t{3} * kRows * kColumns, 0x63), {}}.Build();
}

TEST_F(TimeTest, OfAnImageIsNoMoreThanThreeTimesThatOfASoundOne) {
    ASSERT_EQ(Bind(Good()), 8);
    const auto convert = [dest = dir_.File("dest.tif")](const std::string& source) {
        return [=] { Orvix_Icc_ConvertFile(source.c_str(), dest.c_str()); };
    };
    const std::string sound = Put("sound.tif", SoundImage());
    testing::internal::CaptureStdout();
    for (const Strips& row : {Strips{"AsManyStripsFarApartAsFit", kMostStrips, 80, 200, kMiB - 4000},
                              {"AsManyStripsInOnePlaceAsFit", kMostStrips, 80, 200, 200},
                              {"AsManyEmptyStripsAsFit", kMostStrips, 0, 200, kMiB - 4000},
                              {"AsManyBytesByThemselvesAsFit", kMostStrips, 1, 200, kMiB - 4000},
                              {"AsManyStripsAtTheEndAsFit", kMostStrips, 80, kMiB - 8, kMiB},
                              {"AsManyStripsOutsideAsFit", kMostStrips, 80, 0x7fffffff, 0x70000000},
                              {"AsManyStripsWithoutAPlaceAsFit", kMostStrips, 80, 0xffffffff, 0x80000000},
                              {"FewStripsOfAnyLength", 60, 170000, 200, kMiB - 4000}}) {
        ExpectAtMost(3, 7, row.name, convert(Put("slow.tif", SlowImage(row))), convert(sound));
    }
    testing::internal::GetCapturedStdout();
}

}  // namespace
}  // namespace hueweave::test
