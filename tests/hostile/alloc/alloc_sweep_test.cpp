// SPDX-License-Identifier: MIT
// Allocation number k fails, for k = 1, 2, ... until the call succeeds: every call must leave a defined state, and a
// valid call afterwards must give its usual result.
#include "hostile/Hostile.h"
#include "hostile/alloc/Heap.h"

namespace hueweave::test {
namespace {

class AllocationSweepTest : public HostileTest, public testing::WithParamInterface<Fail> {
protected:
    /// Allocation k fails.
    template <typename... Steps>
    std::uint64_t Sweep(const Steps&... steps) {
        return HostileTest::Sweep([](std::uint64_t k) { return HeapWatch(GetParam(), k); }, steps...);
    }
    /// After `prepare`, `call` is refused and leaves nothing, where `whenRefused` may look further, or gives its result
    /// without a fault; so does a second call.
    void ExpectDoneOrRefused(
        const std::function<void()>& prepare, const std::function<std::int32_t()>& call,
        const std::function<void()>& whenRefused = [] {}) {
        prepare();
        ASSERT_EQ(call(), 8);
        const Bytes golden = ConvertedPixels();
        std::int32_t space = 0;
        Sweep(
            prepare, [&] { space = call(); },
            [&] {
                ASSERT_TRUE(space == 8 || space == kNone) << space;
                EXPECT_EQ(ConvertedPixels(), space == 8 ? golden : Bytes());
                if (space != 8) {
                    whenRefused();
                    prepare();
                }
                EXPECT_EQ(call(), 8) << "the same call again";
                EXPECT_EQ(ConvertedPixels(), golden);
            });
    }
    /// Binds the engine after a reset, as every round of a sweep must.
    static void BindAnew(const std::string& path, std::int32_t intent = 0, std::int32_t input = 0,
                         std::int32_t output = 8) {
        Empty();
        ASSERT_EQ(Bind(path, intent, input, output), output);
    }
};

TEST_P(AllocationSweepTest, EveryCallSucceedsOrFails) {
    const std::string all = Put("all.icc", MiniProfile(EveryKindOfTag()));
    const std::string curved =
        Put("ab.icc", MiniProfile({{"wtpt", XyzBlock(0xf6d6, 0x10000, 0xd32d)}, {"A2B1", MftAB(ShortLut())}}));
    for (const std::string& path : {all, curved}) {
        ExpectDoneOrRefused([] { Empty(); }, [&] { return Bind(path, 3); });
    }
    const std::string two = Put("two.icc", MiniProfile({{"A2B0", Mft2(SmoothLut(3))}, {"A2B1", MftAB(ShortLut())}}));
    ExpectDoneOrRefused([&] { BindAnew(two); }, [] { return Orvix_Icc_SetIntent(1, 0, 8); });
    Bytes points(256);
    for (std::size_t i = 0; i < points.size(); ++i) points[i] = static_cast<unsigned char>(i * i / 255);
    unsigned char* const curve = points.data();
    for (const auto& [lightness, given] : {std::pair<double, unsigned char*>{5, nullptr}, {0, curve}, {5, curve}}) {
        ExpectDoneOrRefused([&] { BindAnew(two, 1); },
                            [lightness = lightness, given = given] {
                                return Orvix_Icc_Adjust(lightness, 0, 0, given, given, given, 256);
                            });
    }
}

/// After a SetProfile that ran out of memory, a SetIntent finds nothing or the whole profile; never a part of it, which
/// could give other colours.
TEST_P(AllocationSweepTest, NoPartOfAProfileIsUsedAfterwards) {
    const std::string path =
        Put("two.icc", MiniProfile({{"A2B1", Mft2(SmoothLut(3))}, {"desc", Bytes(64, 1)}, {"A2B0", Mft2(ShortLut())}}));
    ASSERT_EQ(Bind(path), 8);
    const Bytes golden = ConvertedPixels();
    ExpectDoneOrRefused(
        Empty, [&] { return Bind(path); },
        [&] {
            EXPECT_EQ(Orvix_Icc_SetIntent(0, 0, 8), 8);
            EXPECT_THAT(ConvertedPixels(), testing::AnyOf(golden, SamplePixels()));
        });
}

/// Offsets whose grid could not be built do not become the engine's: it can be rebuilt without them, and they can be
/// set again.
TEST_P(AllocationSweepTest, OffsetsOfARefusedAdjustmentAreForgotten) {
    const std::string path = Good();
    ASSERT_EQ(Bind(path), 8);
    const Bytes plain = ConvertedPixels();
    const auto adjust = [] { return Orvix_Icc_Adjust(5, 4, 3, nullptr, nullptr, nullptr, 0); };
    ASSERT_EQ(adjust(), 8);
    const Bytes adjusted = ConvertedPixels();
    ASSERT_NE(adjusted, plain);
    ExpectDoneOrRefused([&] { BindAnew(path); }, adjust,
                        [&] {
                            EXPECT_EQ(Orvix_Icc_SetIntent(0, 0, 8), 8);
                            EXPECT_EQ(ConvertedPixels(), plain);
                            EXPECT_EQ(adjust(), 8);
                            EXPECT_EQ(ConvertedPixels(), adjusted);
                        });
}

/// A mixture of old and new input tables of different lengths. A SetIntent that finds no table lets the engine convert
/// again: with all of the old tables or not at all.
TEST_P(AllocationSweepTest, InputTablesOfABrokenBuildAreNotUsed) {
    const std::string path = Good();
    ASSERT_EQ(Bind(path, 0, 1, 9), 9);
    Bytes source = SamplePixels(600), golden(600);
    ASSERT_EQ(Orvix_Icc_Convert2(source.data(), golden.data(), 100), 0);
    ExpectDoneOrRefused([&] { BindAnew(path, 0, 1, 9); }, [] { return Orvix_Icc_SetIntent(0, 0, 8); },
                        [&] {
                            ASSERT_EQ(Orvix_Icc_SetIntent(1, 1, 9), 9) << "there is no table for this intent";
                            Bytes result(600, 0x11);
                            EXPECT_EQ(Orvix_Icc_Convert2(source.data(), result.data(), 100), 0);
                            EXPECT_TRUE(result == golden || result == Bytes(600, 0x11));
                        });
}

/// A call frees what it allocated before memory ran out.
TEST_P(AllocationSweepTest, NothingLeaks) {
    const std::string path = Put("two.icc", MiniProfile({{"wtpt", XyzBlock(1, 2, 3)}, {"A2B1", MftAB(ShortLut())}}));
    const std::string source = Put("source.tif", MiniTiff{2, 2, 3, 8, Bytes(12, 1), Bytes(100, 1)}.Build());
    Bytes curve(256, 1);
    const auto all = [&] {
        Orvix_Icc_SetProfile(path.c_str(), nullptr, 3, 0, 8);
        Orvix_Icc_SetIntent(1, 1, 9);
        Orvix_Icc_Adjust(1, 2, 3, curve.data(), curve.data(), curve.data(), 256);
        Orvix_Icc_ConvertFile(source.c_str(), "/dev/null");
        Orvix_Icc_ConvertFile("/absent", "/dev/null");
    };
    Printed(all);
    const std::uint64_t refused = Sweep(
        Empty,
        [&] {
            all();
            heapState.fail = Fail::Never;
            Empty();
        },
        [] { EXPECT_LE(heapState.used, 4096) << "a buffer of the standard output may be among them"; });
    EXPECT_GE(refused, 50U);
}

/// A file that is written in place may be truncated by the fault, but never has other contents. If nothing could be
/// read, a source to be replaced by its own conversion stays.
TEST_P(AllocationSweepTest, ConvertFileWritesTheFileOrAPieceOfIt) {
    ASSERT_EQ(Bind(Good()), 8);
    const MiniTiff sound{10, 10, 3, 8, SamplePixels(), Bytes(100, 1)};
    const Bytes image = sound.Build(), golden = Converted(sound).Build();
    const std::string source = dir_.File("source.tif"), elsewhere = dir_.File("dest.tif");
    for (const std::string& dest : {elsewhere, source}) {
        Sweep(
            [&] {
                WriteFile(elsewhere, {});
                WriteFile(source, image);
            },
            [&] { EXPECT_EQ(Orvix_Icc_ConvertFile(source.c_str(), dest.c_str()), 8); },
            [&] {
                const Bytes written = ReadFile(dest);
                const bool kept = dest == source && written == image;
                const auto end = std::mismatch(written.begin(), written.end(), golden.begin(), golden.end()).first;
                EXPECT_TRUE(kept || end == written.end()) << written.size() << " bytes that are no part of it";
                EXPECT_FALSE(dest == source && written.empty());
                if (dest == source) return;
                EXPECT_EQ(ReadFile(source), image);
                Printed([&] { EXPECT_EQ(Orvix_Icc_ConvertFile(source.c_str(), dest.c_str()), 8); });
                EXPECT_EQ(ReadFile(dest), golden);
            });
    }
}

INSTANTIATE_TEST_SUITE_P(Every, AllocationSweepTest, testing::Values(Fail::Once, Fail::OnAndOn),
                         testing::PrintToStringParamName());

}  // namespace
}  // namespace hueweave::test
