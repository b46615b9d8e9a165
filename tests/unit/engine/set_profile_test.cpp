// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#include <sys/inotify.h>
#include <unistd.h>

#include <filesystem>
#include <limits>

#include "unit/engine/EngineFixture.h"

namespace hueweave::test {
namespace {

/// Counts how often a file is opened.
class OpenCounter {
public:
    explicit OpenCounter(const std::string& path) : descriptor_(inotify_init1(IN_NONBLOCK)) {
        if (descriptor_ < 0 || inotify_add_watch(descriptor_, path.c_str(), IN_OPEN) < 0) {
            throw std::runtime_error("cannot watch " + path);
        }
    }
    OpenCounter(const OpenCounter&) = delete;
    OpenCounter& operator=(const OpenCounter&) = delete;
    ~OpenCounter() { close(descriptor_); }

    /// Opens since the last call. Equal events that follow each other are merged while they are not fetched.
    int Take() {
        alignas(inotify_event) char buffer[4096];
        const ssize_t bytes = read(descriptor_, buffer, sizeof buffer);
        return bytes <= 0 ? 0 : static_cast<int>(bytes / static_cast<ssize_t>(sizeof(inotify_event)));
    }

private:
    int descriptor_;
};

class SetProfileTest : public EngineTest {};

TEST_F(SetProfileTest, AReadyEngineHoldsWhatItWasGiven) {
    const std::string path = PutSmooth();
    EXPECT_EQ(Bind(path, 2, 1, 23), 0);
    EXPECT_EQ(engine().Unit.ProfileState, 0);
    EXPECT_EQ(engine().Unit.InputSpace, 1);
    EXPECT_EQ(engine().Unit.Intent, 2);
    EXPECT_EQ(Status(), "23/23");
    EXPECT_STREQ(engine().Unit.ProfileName.get(), path.c_str());
    EXPECT_EQ(engine().Unit.SecondName, nullptr);
    EXPECT_EQ(engine().InEntries, 65536);
    EXPECT_EQ(engine().File.tagList.size(), 2U);
}

TEST_F(SetProfileTest, BuildResultIsTheOutputSpaceAlsoForTheAliases) {
    const std::string path = PutSmooth();
    ASSERT_EQ(Bind(path, 0, 0, 12), 0);
    EXPECT_EQ(Status(), "12/12");
    ASSERT_EQ(Bind(path, 0, 1, 13), 0);
    EXPECT_EQ(Status(), "13/13");
}

TEST_F(SetProfileTest, TheSecondNameIsDropped) {
    const std::string path = PutSmooth();
    EXPECT_EQ(engine().SetProfile(path.c_str(), "anything", IntentOf(0), Space(0), Space(8), 1.0, 2.0, 3.0), 0);
    EXPECT_EQ(engine().Unit.SecondName, nullptr);
    EXPECT_TRUE(GridOf(engine()) == ExpectedGrid(Table(TagName("A2B0")), 1.0, 2.0, 3.0, 8));
    OpenCounter opens(path);
    EXPECT_EQ(engine().SetProfile(path.c_str(), nullptr, IntentOf(0), Space(0), Space(8), 0.0, 0.0, 0.0), 0);
    EXPECT_EQ(engine().SetProfile(path.c_str(), "other", IntentOf(0), Space(0), Space(8), 0.0, 0.0, 0.0), 0);
    EXPECT_EQ(opens.Take(), 0) << "the second name counts for nothing in the test for a change";
}

TEST_F(SetProfileTest, TheSameCallReadsTheFileOnce) {
    const std::string path = PutSmooth();
    OpenCounter opens(path);
    ASSERT_EQ(Bind(path, 0, 0, 8), 0);
    EXPECT_EQ(opens.Take(), 1);
    EXPECT_EQ(Bind(path, 0, 0, 8), 0);
    EXPECT_EQ(opens.Take(), 0);
    // Any argument that differs reads again.
    ASSERT_EQ(Bind(path, 1, 0, 8), 0);
    EXPECT_EQ(opens.Take(), 1);
    ASSERT_EQ(Bind(path, 1, 1, 8), 0);
    EXPECT_EQ(opens.Take(), 1);
    ASSERT_EQ(Bind(path, 1, 1, 9), 0);
    EXPECT_EQ(opens.Take(), 1);
}

TEST_F(SetProfileTest, ARefusedInputEncodingOpensNoFile) {
    const std::string path = PutSmooth();
    OpenCounter opens(path);
    for (const int input : {2, 3, 8, 65535, -1, std::numeric_limits<std::int32_t>::min()}) {
        ASSERT_EQ(Bind(path, 1, 0, 8), 0);
        EXPECT_EQ(opens.Take(), 1);
        engine().Adjust_Lch(5.0, 6.0, 7.0);

        EXPECT_EQ(Bind(path, 2, input, 9), 65530) << input;

        EXPECT_EQ(opens.Take(), 0) << input;
        EXPECT_EQ(Status(), "65535/65535");
        EXPECT_EQ(engine().Unit.InputSpace, input);
        EXPECT_EQ(engine().Unit.Intent, 2);
        EXPECT_EQ(engine().Unit.ProfileState, 0);
        EXPECT_EQ(engine().Unit.Lightness, 0);
        EXPECT_EQ(engine().Unit.Chroma, 0);
        EXPECT_EQ(engine().Unit.Hue, 0);
        EXPECT_EQ(engine().Lut1DInR, nullptr);
        EXPECT_TRUE(engine().File.tagList.empty()) << "the profile before is gone";
    }
}

TEST_F(SetProfileTest, AFileThatCannotBeOpenedDestroysWhatWasThere) {
    ASSERT_EQ(Bind(PutSmooth(), 1, 1, 9), 0);
    const std::string absent = dir_.File("absent.icc");
    EXPECT_EQ(Bind(absent, 3, 0, 20), 65531);
    EXPECT_EQ(Status(), "65535/65535");
    EXPECT_EQ(engine().Unit.InputSpace, 0);
    EXPECT_EQ(engine().Unit.Intent, 3);
    EXPECT_EQ(engine().Unit.ProfileState, 0);
    EXPECT_EQ(engine().Lut1DInR, nullptr);
    EXPECT_TRUE(engine().File.tagList.empty());
    EXPECT_STREQ(engine().Unit.ProfileName.get(), absent.c_str());
}

TEST_F(SetProfileTest, AFailedCallIsTriedAgain) {
    const std::string path = dir_.File("late.icc");
    EXPECT_EQ(Bind(path, 0, 0, 8), 65531);
    EXPECT_EQ(Bind(path, 0, 0, 8), 65531);
    Put("late.icc", {{"A2B0", Mft2(SmoothLut())}});
    EXPECT_EQ(Bind(path, 0, 0, 8), 0);
    EXPECT_EQ(Status(), "8/8");
}

TEST_F(SetProfileTest, AChangedOrVanishedFileGoesUnnoticedUntilAnArgumentChanges) {
    const std::string path = Put("one.icc", {{"A2B0", Mft2(MarkedLut(0x1111))}});
    ASSERT_EQ(Bind(path, 0, 0, 8), 0);
    const Stages before = StagesOf(engine());
    Put("one.icc", {{"A2B0", Mft2(MarkedLut(0x3333))}});
    EXPECT_EQ(Bind(path, 0, 0, 8), 0);
    EXPECT_TRUE(StagesOf(engine()) == before);
    EXPECT_EQ(Bind(path, 0, 0, 20), 0);
    EXPECT_EQ(InputOf(engine())[0][7], Packed(0x3333));
    std::filesystem::remove(path);
    EXPECT_EQ(Bind(path, 0, 0, 20), 0);
    EXPECT_EQ(Status(), "20/20");
    EXPECT_EQ(Bind(path, 0, 0, 8), 65531);
    EXPECT_EQ(Status(), "65535/65535");
}

TEST_F(SetProfileTest, AnotherPathToTheSameFileIsAChange) {
    const std::string path = PutSmooth();
    const std::string detour = dir_.Path() + "/./smooth.icc";
    ASSERT_EQ(Bind(path, 0, 0, 8), 0);
    OpenCounter opens(path);
    EXPECT_EQ(Bind(detour, 0, 0, 8), 0);
    EXPECT_EQ(opens.Take(), 1);
    EXPECT_EQ(Bind(path, 0, 0, 8), 0);
    EXPECT_EQ(opens.Take(), 1);
}

TEST_F(SetProfileTest, ThePathIsRememberedEvenWhenTheInputEncodingIsRefused) {
    const std::string path = PutSmooth();
    ASSERT_EQ(Bind(path, 0, 2, 8), 65530);
    EXPECT_STREQ(engine().Unit.ProfileName.get(), path.c_str());
    // With the output space stored from elsewhere nothing differs any more, and the call that failed succeeds.
    EXPECT_EQ(Rebind(0, 2, 8), 65535);
    EXPECT_EQ(Bind(path, 0, 2, 8), 0);
    EXPECT_EQ(Status(), "8/65535");
    EXPECT_EQ(engine().Lut1DInR, nullptr);
}

TEST_F(SetProfileTest, ThePathIsRememberedEvenWhenTheFileIsAbsent) {
    const std::string path = dir_.File("absent.icc");
    ASSERT_EQ(Bind(path, 1, 0, 8), 65531);
    EXPECT_EQ(Rebind(1, 0, 8), 65535);
    EXPECT_EQ(Bind(path, 1, 0, 8), 0);
    EXPECT_EQ(engine().Lut1DInR, nullptr);
}

TEST_F(SetProfileTest, ThePathIsRememberedWhenNothingElseChanges) {
    // Another path with the same job reads; the job alone does not hold the old path.
    const std::string first = PutSmooth("first.icc");
    const std::string second = PutSmooth("second.icc");
    ASSERT_EQ(Bind(first, 0, 0, 8), 0);
    ASSERT_EQ(Bind(second, 0, 0, 8), 0);
    EXPECT_STREQ(engine().Unit.ProfileName.get(), second.c_str());
}

TEST_F(SetProfileTest, ANullPathIsAFileThatCannotBeOpened) {
    ASSERT_EQ(Bind(PutSmooth(), 0, 0, 8), 0);
    EXPECT_EQ(engine().SetProfile(nullptr, IntentOf(0), Space(0), Space(8), 0.0, 0.0, 0.0), 65531);
    EXPECT_EQ(Status(), "65535/65535");
    EXPECT_EQ(engine().Unit.ProfileName, nullptr);
}

TEST_F(SetProfileTest, LongPathsAreRemembered) {
    std::string folder = dir_.Path();
    for (int i = 0; i < 4; ++i) folder += "/" + std::string(60, static_cast<char>('a' + i));
    std::filesystem::create_directories(folder);
    const std::string path = folder + "/long.icc";
    WriteFile(path, MiniProfile({{"A2B0", Mft2(SmoothLut())}}));
    ASSERT_EQ(Bind(dir_.File("short.icc"), 0, 0, 8), 65531);
    EXPECT_EQ(Bind(path, 0, 0, 8), 0);
    EXPECT_STREQ(engine().Unit.ProfileName.get(), path.c_str());
    OpenCounter opens(path);
    EXPECT_EQ(Bind(path, 0, 0, 8), 0);
    EXPECT_EQ(opens.Take(), 0);
    EXPECT_EQ(Bind(path + "x", 0, 0, 8), 65531);
}

TEST_F(SetProfileTest, ARebuildClearsTheAdjustmentAndTheSameCallKeepsIt) {
    const std::string path = PutSmooth();
    ASSERT_EQ(Bind(path, 0, 0, 10), 0);
    ASSERT_EQ(engine().Adjust_Lch(9.0, -8.0, 7.0), 10);
    const Grid adjusted = GridOf(engine());
    EXPECT_EQ(Bind(path, 0, 0, 10), 0);
    EXPECT_TRUE(GridOf(engine()) == adjusted);
    EXPECT_EQ(engine().Unit.Lightness, 9);

    EXPECT_EQ(Bind(path, 1, 0, 10), 0);
    EXPECT_EQ(engine().Unit.Lightness, 0);
    EXPECT_EQ(engine().Unit.Chroma, 0);
    EXPECT_EQ(engine().Unit.Hue, 0);
    EXPECT_TRUE(GridOf(engine()) == ExpectedGrid(Table(TagName("A2B1")), 0, 0, 0, 10));
}

TEST_F(SetProfileTest, ItsOwnAdjustmentIsBuiltButNotStored) {
    ASSERT_EQ(Bind(PutSmooth(), 0, 0, 10, 6.5, -2.25, 14.0), 0);
    const Grid adjusted = ExpectedGrid(Table(TagName("A2B0")), 6.5, -2.25, 14.0, 10);
    EXPECT_TRUE(GridOf(engine()) == adjusted);
    EXPECT_EQ(engine().Unit.Lightness, 0);
    EXPECT_EQ(engine().Unit.Hue, 0);
    // So a whole-unit adjustment of 0 is no change, and the grid stays adjusted.
    EXPECT_EQ(engine().Adjust_Lch(0.0, 0.0, 0.0), 10);
    EXPECT_TRUE(GridOf(engine()) == adjusted);
}

TEST_F(SetProfileTest, TheAdjustmentTakesNoPartInTheTestForAChange) {
    const std::string path = PutSmooth();
    ASSERT_EQ(Bind(path, 0, 0, 10), 0);
    const Grid plain = GridOf(engine());
    EXPECT_EQ(Bind(path, 0, 0, 10, 30.0, 30.0, 30.0), 0);
    EXPECT_TRUE(GridOf(engine()) == plain);
}

TEST_F(SetProfileTest, AdjustmentsThatAreNotFiniteCountAsZero) {
    ASSERT_EQ(Bind(PutSmooth(), 0, 0, 10, kNaN, kInfinity, -kInfinity), 0);
    EXPECT_TRUE(GridOf(engine()) == ExpectedGrid(Table(TagName("A2B0")), 0, 0, 0, 10));
}

TEST_F(SetProfileTest, AProfileWithoutATableLeavesABoundEngineWithoutTables) {
    const std::string path = Put("other.icc", {{"wtpt", XyzBlock(1, 2, 3)}, {"B2A0", Mft2(SmoothLut())}});
    FillTables(engine(), 3);
    EXPECT_EQ(Bind(path, 0, 1, 9), 0);
    EXPECT_EQ(Status(), "9/65535");
    EXPECT_EQ(engine().Unit.ProfileState, 0);
    EXPECT_EQ(engine().Lut1DInR, nullptr);
    EXPECT_TRUE(GridOf(engine()) == PatternGrid(3));
    EXPECT_TRUE(OutputOf(engine()) == PatternOutput(3));
    OpenCounter opens(path);
    EXPECT_EQ(Bind(path, 0, 1, 9), 0);
    EXPECT_EQ(opens.Take(), 0) << "the requested output space counts as bound";
}

TEST_F(SetProfileTest, AnEmptyFileIsAProfileWithoutATable) {
    WriteFile(dir_.File("empty.icc"), {});
    EXPECT_EQ(Bind(dir_.File("empty.icc"), 0, 0, 8), 0);
    EXPECT_EQ(Status(), "8/65535");
}

TEST_F(SetProfileTest, AnotherPathDestroysTheProfileBefore) {
    ASSERT_EQ(Bind(Put("many.icc", {{"A2B0", Mft2(SmoothLut())},
                                    {"A2B1", Mft2(SmoothLut())},
                                    {"wtpt", XyzBlock(0xe000, 0x10000, 0x9000)}}),
                   0, 0, 8),
              0);
    ASSERT_EQ(Bind(Put("one.icc", {{"A2B0", Mft2(SmoothLut())}}), 0, 0, 8), 0);
    EXPECT_EQ(engine().File.tagList.size(), 1U);
    EXPECT_EQ(engine().File.GetTag(TagName("wtpt")), nullptr);
}

TEST_F(SetProfileTest, AfterSetIntentTheTestComparesWithTheNewJob) {
    const std::string path = PutSmooth();
    ASSERT_EQ(Bind(path, 0, 0, 10), 0);
    ASSERT_EQ(Rebind(1, 1, 11), 11);
    ASSERT_EQ(engine().Adjust_Lch(4.0, 0.0, 0.0), 11);
    OpenCounter opens(path);
    EXPECT_EQ(Bind(path, 1, 1, 11), 0);
    EXPECT_EQ(opens.Take(), 0);
    EXPECT_EQ(engine().Unit.Lightness, 4);
    EXPECT_EQ(Bind(path, 0, 0, 10), 0);
    EXPECT_EQ(opens.Take(), 1);
    EXPECT_EQ(engine().Unit.Lightness, 0);
}

}  // namespace
}  // namespace hueweave::test
