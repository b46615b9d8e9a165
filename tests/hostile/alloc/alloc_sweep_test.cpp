// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
//
// Allocation number k fails, for k = 1, 2, ... until the call goes through: no call may end in anything but a defined
// state, and a good call afterwards must give what it always gives.
#include <filesystem>
#include <functional>

#include "hostile/Hostile.h"
#include "hostile/alloc/Heap.h"

namespace hueweave::test {
namespace {

using Fail = HeapWatch::Fail;

class AllocationSweep : public HostileTest, public testing::WithParamInterface<Fail> {
protected:
    /// Calls `prepare`, then `call` with allocation k failing, then `check`, for k = 1, 2, ... until none fails.
    template <typename Call>
    void Sweep(const std::function<void()>& prepare, const Call& call, const std::function<void()>& check) {
        for (std::uint64_t k = 1;; ++k) {
            ASSERT_LT(k, 5000U) << "the call never goes through";
            SCOPED_TRACE("allocation " + std::to_string(k));
            prepare();
            HeapWatch heap(GetParam(), k);
            call();
            heap.Stop();
            check();
            if (HasFailure()) return;
            if (!heap.Failed()) return;
        }
    }
};

TEST_P(AllocationSweep, SetProfileIsDoneOrRefused) {
    const MiniTags plain = EveryKindOfTag();
    const Bytes files[] = {MiniProfile(plain),
                           MiniProfile({{"wtpt", XyzBlock(0xf6d6, 0x10000, 0xd32d)}, {"A2B1", MftAB(ShortLut())}})};
    for (const Bytes& file : files) {
        const std::string path = Put("sound.icc", file);
        Empty();
        ASSERT_EQ(Bind(path, 3), 8);
        const Bytes golden = ConvertedPixels();
        std::int32_t space = 0;
        Sweep([] { Empty(); }, [&] { space = Orvix_Icc_SetProfile(path.c_str(), nullptr, 3, 0, 8); },
              [&] {
                  ASSERT_TRUE(space == 8 || space == 65535) << space;
                  EXPECT_EQ(ConvertedPixels(), space == 8 ? golden : Bytes());
                  EXPECT_EQ(Bind(path, 3), 8);
                  EXPECT_EQ(ConvertedPixels(), golden);
              });
    }
}

/// What a SetIntent finds after a SetProfile that ran out of memory: nothing, or the whole profile; never a part of
/// it, from which other colours could come.
TEST_P(AllocationSweep, NoPartOfAProfileIsUsedAfterwards) {
    const std::string path =
        Put("two.icc", MiniProfile({{"A2B1", Mft2(SmoothLut(3))}, {"desc", Bytes(64, 1)}, {"A2B0", Mft2(ShortLut())}}));
    ASSERT_EQ(Bind(path), 8);
    const Bytes golden = ConvertedPixels();
    std::int32_t space = 0;
    Sweep([] { Empty(); }, [&] { space = Orvix_Icc_SetProfile(path.c_str(), nullptr, 0, 0, 8); },
          [&] {
              EXPECT_EQ(Orvix_Icc_SetIntent(0, 0, 8), 8);
              const Bytes pixels = ConvertedPixels();
              EXPECT_TRUE(pixels == golden || (space != 8 && pixels == SamplePixels()));
          });
}

TEST_P(AllocationSweep, SetIntentIsDoneOrRefused) {
    const std::string path = Put("two.icc", MiniProfile({{"A2B0", Mft2(SmoothLut(3))}, {"A2B1", MftAB(ShortLut())}}));
    ASSERT_EQ(Bind(path, 1), 8);
    const Bytes golden = ConvertedPixels();
    std::int32_t space = 0;
    Sweep([&] { ASSERT_EQ(Bind(path, 0), 8); }, [&] { space = Orvix_Icc_SetIntent(1, 0, 8); },
          [&] {
              ASSERT_TRUE(space == 8 || space == 65535) << space;
              EXPECT_EQ(ConvertedPixels(), space == 8 ? golden : Bytes());
              EXPECT_EQ(Orvix_Icc_SetIntent(1, 0, 8), 8) << "the same call again";
              EXPECT_EQ(ConvertedPixels(), golden);
          });
}

/// Offsets whose grid could not be built are not those of the engine: it can be rebuilt without them, and they can be
/// asked for again.
TEST_P(AllocationSweep, OffsetsOfARefusedAdjustmentAreForgotten) {
    const std::string path = Good();
    ASSERT_EQ(Bind(path), 8);
    const Bytes plain = ConvertedPixels();
    const auto adjust = [] { return Orvix_Icc_Adjust(5, 4, 3, nullptr, nullptr, nullptr, 0); };
    ASSERT_EQ(adjust(), 8);
    const Bytes adjusted = ConvertedPixels();
    ASSERT_NE(adjusted, plain);
    std::int32_t space = 0;
    Sweep(
        [&] {
            Empty();
            ASSERT_EQ(Bind(path), 8);
        },
        [&] { space = adjust(); },
        [&] {
            if (space == 8) return;
            EXPECT_EQ(Orvix_Icc_SetIntent(0, 0, 8), 8);
            EXPECT_EQ(ConvertedPixels(), plain);
            EXPECT_EQ(adjust(), 8);
            EXPECT_EQ(ConvertedPixels(), adjusted);
        });
}

/// Input tables of which some are new and some old, when both have not the same length. A SetIntent that finds no table
/// lets the engine convert again: with all of the old tables or not at all.
TEST_P(AllocationSweep, InputTablesOfABrokenBuildAreNotUsed) {
    const std::string path = Good();
    ASSERT_EQ(Bind(path, 0, 1, 9), 9);
    Bytes source = SamplePixels(600);
    Bytes golden(600);
    ASSERT_EQ(Orvix_Icc_Convert2(source.data(), golden.data(), 100), 0);
    std::int32_t space = 0;
    Sweep(
        [&] {
            Empty();
            ASSERT_EQ(Bind(path, 0, 1, 9), 9);
        },
        [&] { space = Orvix_Icc_SetIntent(0, 0, 8); },
        [&] {
            if (space == 8) return;
            ASSERT_EQ(space, 65535);
            ASSERT_EQ(Orvix_Icc_SetIntent(1, 1, 9), 9) << "there is no table for this intent";
            Bytes result(600, 0x11);
            EXPECT_EQ(Orvix_Icc_Convert2(source.data(), result.data(), 100), 0);
            EXPECT_TRUE(result == golden || result == Bytes(600, 0x11));
        });
}

TEST_P(AllocationSweep, AdjustIsDoneOrRefused) {
    const std::string path = Put("ab.icc", MiniProfile({{"A2B0", MftAB(ShortLut())}}));
    Bytes curve(256);
    for (std::size_t i = 0; i < curve.size(); ++i) curve[i] = static_cast<unsigned char>(i * i / 255);
    struct Adjustment {
        double lightness;
        unsigned char* curve;
    };
    for (const Adjustment& step : {Adjustment{5, nullptr}, Adjustment{0, curve.data()}, Adjustment{5, curve.data()}}) {
        const auto adjust = [&] {
            return Orvix_Icc_Adjust(step.lightness, 0, 0, step.curve, step.curve, step.curve, 256);
        };
        Empty();
        ASSERT_EQ(Bind(path), 8);
        ASSERT_EQ(adjust(), 8);
        const Bytes golden = ConvertedPixels();
        std::int32_t space = 0;
        Sweep(
            [&] {
                Empty();
                ASSERT_EQ(Bind(path), 8);
            },
            [&] { space = adjust(); },
            [&] {
                ASSERT_TRUE(space == 8 || space == 65535) << space;
                EXPECT_TRUE(ConvertedPixels() == (space == 8 ? golden : Bytes())) << "an answer of " << space;
                Empty();
                EXPECT_EQ(Bind(path), 8);
                EXPECT_EQ(adjust(), 8);
                EXPECT_EQ(ConvertedPixels(), golden);
            });
    }
}

std::size_t OpenDescriptors() {
    std::size_t count = 0;
    for ([[maybe_unused]] const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) ++count;
    return count;
}

/// What a call had in hand when the memory ended is given back.
TEST_P(AllocationSweep, NothingIsLost) {
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
    const std::size_t descriptors = OpenDescriptors();
    for (std::uint64_t k = 1;; ++k) {
        ASSERT_LT(k, 5000U);
        Empty();
        bool failed = false;
        std::int64_t left = 0;
        Printed([&] {
            HeapWatch heap(GetParam(), k);
            all();
            heap.Mend();
            Empty();
            heap.Stop();
            failed = heap.Failed();
            left = heap.Left();
        });
        ASSERT_LE(left, 4096) << "allocation " << k << "; the text that was printed is among them";
        ASSERT_EQ(OpenDescriptors(), descriptors) << "allocation " << k;
        if (!failed) return;
    }
}

class FileSweep : public AllocationSweep {
protected:
    FileSweep() {
        EXPECT_EQ(Bind(Good()), 8);
        expected_.pixels = ConvertedPixels(image_.pixels);
        expected_.icc.clear();
    }
    static bool StartsWith(const Bytes& whole, const Bytes& part) {
        return part.size() <= whole.size() && std::equal(part.begin(), part.end(), whole.begin());
    }

    const MiniTiff image_{10, 10, 3, 8, SamplePixels(), Bytes(100, 1)};
    MiniTiff expected_ = image_;
};

/// A file that is written in place may be cut where the fault struck; it is never another one.
TEST_P(FileSweep, ConvertFileWritesTheFileOrAPieceOfIt) {
    const std::string source = Put("source.tif", image_.Build());
    const std::string dest = dir_.File("dest.tif");
    const Bytes golden = expected_.Build();
    Sweep(
        [&] {
            WriteFile(dest, {});
            testing::internal::CaptureStdout();
        },
        [&] { EXPECT_EQ(Orvix_Icc_ConvertFile(source.c_str(), dest.c_str()), 8); },
        [&] {
            testing::internal::GetCapturedStdout();
            const Bytes written = ReadFile(dest);
            EXPECT_TRUE(StartsWith(golden, written)) << written.size() << " bytes that are no part of the result";
            EXPECT_EQ(ReadFile(source), image_.Build());
            Printed([&] { EXPECT_EQ(Orvix_Icc_ConvertFile(source.c_str(), dest.c_str()), 8); });
            EXPECT_EQ(ReadFile(dest), golden);
        });
}

/// When nothing could be read, the file that was to be replaced stays.
TEST_P(FileSweep, ConvertFileOntoItselfKeepsWhatItCouldNotRead) {
    const std::string path = dir_.File("both.tif");
    const Bytes golden = expected_.Build();
    Sweep(
        [&] {
            WriteFile(path, image_.Build());
            testing::internal::CaptureStdout();
        },
        [&] { EXPECT_EQ(Orvix_Icc_ConvertFile(path.c_str(), path.c_str()), 8); },
        [&] {
            testing::internal::GetCapturedStdout();
            const Bytes written = ReadFile(path);
            EXPECT_TRUE(written == image_.Build() || (!written.empty() && StartsWith(golden, written)))
                << written.size() << " bytes that are neither the old file nor part of the new one";
        });
}

INSTANTIATE_TEST_SUITE_P(Every, AllocationSweep, testing::Values(Fail::Once, Fail::OnAndOn),
                         [](const auto& row) { return row.param == Fail::Once ? "Once" : "OnAndOn"; });
INSTANTIATE_TEST_SUITE_P(Every, FileSweep, testing::Values(Fail::Once, Fail::OnAndOn),
                         [](const auto& row) { return row.param == Fail::Once ? "Once" : "OnAndOn"; });

}  // namespace
}  // namespace hueweave::test
