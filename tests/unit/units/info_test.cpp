// SPDX-License-Identifier: MIT
// The job record: its initial state, its stored names, its working buffer, and how every unit runs a job that is
// incomplete.
#include "units/Info.h"

#include <gtest/gtest.h>
#include <malloc.h>

#include <climits>
#include <functional>
#include <string>

#include "unit/units/UnitTables.h"

namespace hueweave::test {
namespace {

using ICC40::ICC_UNIT::FindFormat;
using ICC40::ICC_UNIT::PixelFormat;

/// Checks all fields except build result, intent and names.
void ExpectUnset(const Info& info) {
    EXPECT_EQ(info.ProfileState, 65535);
    EXPECT_EQ(info.Spare, 65535);
    EXPECT_EQ(info.InputSpace, 65535);
    EXPECT_EQ(info.OutputSpace, 65535);
    EXPECT_EQ(info.FormatCode, 65534);
    EXPECT_TRUE(info.WorkBuf == nullptr && info.Source == nullptr && info.Dest == nullptr);
    EXPECT_EQ((std::array{info.PixelCount, info.WorkCount, info.Lightness, info.Chroma, info.Hue}),
              (std::array{0, 0, 0, 0, 0}));
}

TEST(Info, StartsUnsetAndResetsAllButBuildResultIntentAndNames) {
    unsigned char bytes[2];
    Info info;
    for (int pass = 0; pass < 2; ++pass) {
        ExpectUnset(info);
        EXPECT_EQ(info.BuildResult, 65535);
        EXPECT_EQ(info.Intent, 0);
        EXPECT_EQ(info.ProfileName, nullptr);
        EXPECT_EQ(info.SecondName, nullptr);
        EXPECT_EQ(info.Reset(), 0) << "of a fresh record";
    }
    info.ProfileState = info.Spare = 0;
    info.InputSpace = info.OutputSpace = Space(9);
    info.BuildResult = 9;
    info.Intent = ICC40::ICCFILE::IntentSaturation;
    info.FormatCode = 257;
    info.CheckWorkingBuf(bytes, bytes + 1, 4);
    info.CheckLch(1, 2, 3);
    info.CheckCurrentProfile("first.icc", "second.icc");

    EXPECT_EQ(info.Reset(), 0);
    ExpectUnset(info);
    EXPECT_EQ(info.BuildResult, 9);
    EXPECT_EQ(info.Intent, ICC40::ICCFILE::IntentSaturation);
    EXPECT_EQ(info.CheckCurrentProfile("first.icc", "second.icc"), 0) << "no change";
}

TEST(Info, TellsWhetherAnAdjustmentDiffers) {
    Info info;
    const struct {
        int lightness, chroma, hue, result;
    } steps[] = {{0, 0, 0, 0},  {3, -4, 5, 1}, {3, -4, 5, 0},
                 {2, -4, 5, 1}, {2, 4, 5, 1},  {2, 4, 6, 1},
                 {2, 4, 6, 0},  {0, 4, 6, 1},  {INT_MAX, INT_MIN, -1, 1}};
    for (const auto& [lightness, chroma, hue, result] : steps) {
        SCOPED_TRACE(testing::Message() << lightness << " " << chroma << " " << hue);
        EXPECT_EQ(info.CheckLch(lightness, chroma, hue), result);
        EXPECT_EQ(info.Lightness, lightness);
        EXPECT_EQ(info.Chroma, chroma);
        EXPECT_EQ(info.Hue, hue);
    }
}

TEST(Info, TellsWhetherANameDiffers) {
    Info info;
    const struct {
        const char *first, *second;
        int result;
    } steps[] = {{nullptr, nullptr, 0},
                 {"a/b.icc", nullptr, 1},
                 {"a/b.icc", nullptr, 0},
                 {"b.icc", nullptr, 1},
                 {"b.icc", "x", 1},
                 {"b.icc", "x", 0},
                 {"b.icc", nullptr, 1},
                 {nullptr, nullptr, 1},
                 {nullptr, "s.icc", 1},
                 {nullptr, "t.icc", 1},
                 {"c", "d", 1},
                 {"f", "e", 1},
                 {nullptr, "e", 1},
                 // The comparison is byte by byte.
                 {"profile.icc", "e", 1},
                 {"Profile.icc2", "e", 1},
                 {"Profile", "e", 1},
                 {"", "e", 1},
                 {"./Profile", "e", 1}};
    for (const auto& [first, second, result] : steps) {
        SCOPED_TRACE(testing::Message() << "\"" << first << "\", \"" << second << "\"");
        EXPECT_EQ(info.CheckCurrentProfile(first, second), result);
        EXPECT_STREQ(info.ProfileName.get(), first);
        EXPECT_STREQ(info.SecondName.get(), second);
    }
}

TEST(Info, HasRoomForNamesOfAnyLength) {
    // Sixteen consecutive lengths: a heap block has spare room for fifteen of them.
    std::vector<std::size_t> lengths = {1, 4000, 4096};
    for (std::size_t length = 120; length < 152; ++length) lengths.push_back(length);
    for (const std::size_t length : lengths) {
        SCOPED_TRACE(length);
        Info info;
        const std::string name(length, 'n'), longer(length + 1, 'n');
        std::string given = name;
        EXPECT_EQ(info.CheckCurrentProfile(given.c_str(), given.c_str()), 1);
        given[0] = 'b';  // the record keeps a copy
        EXPECT_GE(malloc_usable_size(info.ProfileName.get()), std::max<std::size_t>(128, length + 1));
        EXPECT_GE(malloc_usable_size(info.SecondName.get()), std::max<std::size_t>(128, length + 1));
        EXPECT_EQ(info.ProfileName.get(), name);
        EXPECT_EQ(info.SecondName.get(), name);
        EXPECT_EQ(info.CheckCurrentProfile(name.c_str(), name.c_str()), 0);
        EXPECT_EQ(info.CheckCurrentProfile(longer.c_str(), name.c_str()), 1);
    }
}

TEST(WorkingBuffer, HasTheChannelsOfTheCode) {
    unsigned char bytes[4];
    for (const int code : FormatCodes()) {
        SCOPED_TRACE(code);
        const auto& [channels, sourceBytes, destBytes] = LayoutOf(code);
        const PixelFormat format = FindFormat(code);
        EXPECT_EQ(format.channels, channels);
        EXPECT_EQ(format.source16, sourceBytes == 2);
        EXPECT_EQ(format.dest16, destBytes == 2);
        Info info;
        info.FormatCode = code;
        // A buffer of no samples does not prevent the next run.
        for (const int pixels : {0, 10}) {
            EXPECT_EQ(info.CheckWorkingBuf(bytes + 2, bytes + 3, pixels), channels == 0 ? 65534 : 0);
            EXPECT_EQ(info.Source, bytes + 2);
            EXPECT_EQ(info.Dest, bytes + 3);
            EXPECT_EQ(info.WorkCount, pixels * channels);
            EXPECT_EQ(info.PixelCount, channels == 0 ? 0 : pixels);
            EXPECT_EQ(info.WorkBuf != nullptr, channels != 0);
        }
        // 16 bits per sample for the 8-bit codes too: an address checker detects a smaller array.
        for (int i = 0; i < info.WorkCount; ++i) info.WorkBuf[AsIndex(i)] = 65535;
    }
}

TEST(WorkingBuffer, IsMadeOnceUntilAReset) {
    unsigned char bytes[4];
    Info info;
    info.FormatCode = 262;
    EXPECT_EQ(info.CheckWorkingBuf(bytes, bytes + 1, 100), 0);
    EXPECT_EQ(info.WorkCount, 600);
    const unsigned short* const buffer = info.WorkBuf.get();
    for (const int code : {262, 514, 0}) {
        info.FormatCode = code;
        EXPECT_EQ(info.CheckWorkingBuf(bytes + 2, bytes + 3, 50), 0) << code;
        EXPECT_EQ(info.Source, bytes);
        EXPECT_EQ(info.Dest, bytes + 1);
        EXPECT_EQ(info.PixelCount, 100);
        EXPECT_EQ(info.WorkCount, 600);
        EXPECT_EQ(info.WorkBuf.get(), buffer);
    }
    info.Reset();
    info.FormatCode = 520;
    EXPECT_EQ(info.CheckWorkingBuf(bytes, bytes, 2), 0);
    EXPECT_EQ(info.WorkCount, 14);
    EXPECT_EQ(info.PixelCount, 2);
}

TEST(WorkingBuffer, KeepsItsCountsWhenItIsDeletedAndIsNotMadeAgain) {
    Info info;
    info.FormatCode = 262;
    info.CheckWorkingBuf(nullptr, nullptr, 10);
    for (int pass = 0; pass < 2; ++pass) {
        EXPECT_EQ(info.DeleteWorkingBuf(), 0);
        EXPECT_EQ(info.WorkBuf, nullptr);
        EXPECT_EQ(info.WorkCount, 60);
        EXPECT_EQ(info.PixelCount, 10);
        EXPECT_EQ(info.CheckWorkingBuf(nullptr, nullptr, 10), 0);
        EXPECT_EQ(info.WorkBuf, nullptr);
    }
}

TEST(WorkingBuffer, IsMissingForACountThatCannotBe) {
    unsigned char bytes[2];
    const struct {
        int code, pixels;
    } rows[] = {{257, -1},
                {520, INT_MIN},
                // The first products above the range of an int.
                {257, 715827883},
                {259, 536870912},
                {263, 306783379},
                {518, INT_MAX},
                // Products of 2 and of 0 in 32 bits.
                {257, 1431655766},
                {259, 1073741824}};
    for (const auto& [code, pixels] : rows) {
        SCOPED_TRACE(testing::Message() << code << ", " << pixels << " pixels");
        Info info;
        info.FormatCode = code;
        EXPECT_EQ(info.CheckWorkingBuf(bytes, bytes + 1, pixels), 0);
        EXPECT_EQ(info.PixelCount, 0);
        EXPECT_EQ(info.WorkCount, 0);
        EXPECT_EQ(info.WorkBuf, nullptr);
        EXPECT_EQ(info.Source, bytes);
        EXPECT_EQ(info.CheckWorkingBuf(bytes + 1, bytes, 1), 0) << "the next run is not shut out";
        EXPECT_EQ(info.PixelCount, 1);
        EXPECT_EQ(info.Source, bytes + 1);
    }
}

/// A unit with its working buffer's samples per pixel, and a code of that many channels: 16 bits on both sides.
struct RunRow {
    const char* name;
    std::function<std::unique_ptr<Base>()> make;
    int channels;
    int code;
};
void PrintTo(const RunRow& row, std::ostream* out) { *out << row.name; }

template <typename Unit>
std::unique_ptr<Base> MakeLoaded() {
    auto unit = std::make_unique<Unit>();
    const TestLut lut = RandomLut({.outputs = 7, .points = 9, .inputEntries = 2, .outputEntries = 17});
    if constexpr (std::is_base_of_v<InputTable33, Unit>) {
        unit->Initial(&lut.tag, Space(1));
    } else {
        unit->Initial(&lut.tag);
    }
    return unit;
}

constexpr int kRunPixels = 5;
constexpr unsigned short kSource = 0x1234, kWork = 0x4321, kDest = 0x1111;

class UnitRun : public testing::TestWithParam<RunRow> {
protected:
    UnitRun() {
        info_.FormatCode = GetParam().code;
        auto* const source = reinterpret_cast<unsigned char*>(source_.data());
        auto* const dest = reinterpret_cast<unsigned char*>(dest_.data());
        EXPECT_EQ(info_.CheckWorkingBuf(source, dest, kRunPixels), 0);
        EXPECT_EQ(info_.WorkCount, Samples());
    }
    int Samples() const { return kRunPixels * GetParam().channels; }
    /// The number of pixels that the unit changes, in working or destination samples; they must be the first ones.
    int Changed() {
        if (info_.WorkBuf != nullptr) std::fill_n(info_.WorkBuf.get(), Samples(), kWork);
        std::ranges::fill(dest_, kDest);
        EXPECT_EQ(unit_->Conversion(&info_), 0);
        int changed = 0;
        for (int p = 0; p < kRunPixels; ++p) {
            bool touched = false;
            for (int c = 0; c < GetParam().channels; ++c) {
                const std::size_t at = AsIndex(p * GetParam().channels + c);
                touched |= dest_[at] != kDest || (info_.WorkBuf != nullptr && info_.WorkBuf[at] != kWork);
            }
            if (!touched) continue;
            EXPECT_EQ(changed, p) << "pixels in between were left out";
            ++changed;
        }
        return changed;
    }

    Info info_;
    Words source_ = Words(kRunPixels * 7, kSource);
    Words dest_ = Words(kRunPixels * 7, kDest);
    const std::unique_ptr<Base> unit_ = GetParam().make();
};

TEST_P(UnitRun, ChangesEveryPixelOrNoneWithoutAWorkingBuffer) {
    EXPECT_EQ(Changed(), kRunPixels);
    info_.DeleteWorkingBuf();
    EXPECT_EQ(info_.WorkCount, Samples());
    EXPECT_EQ(Changed(), 0);
}

TEST_P(UnitRun, IsEmptyWithoutTheSourceOrDestinationThatTheUnitUses) {
    const std::string name = GetParam().name;
    info_.Source = nullptr;
    EXPECT_EQ(Changed(), name.starts_with("Input") ? 0 : kRunPixels);
    info_.Source = reinterpret_cast<unsigned char*>(source_.data());
    info_.Dest = nullptr;
    EXPECT_EQ(Changed(), name.starts_with("Output") ? 0 : kRunPixels);
}

TEST_P(UnitRun, EndsWithTheLastPixelThatIsWholeInTheBuffer) {
    for (const int pixels : {kRunPixels - 1, 1 << 30}) {
        info_.PixelCount = pixels;
        info_.WorkCount = 3 * GetParam().channels - 1;
        EXPECT_EQ(Changed(), 2) << pixels;
    }
    for (const auto& [pixels, samples] :
         {std::pair{INT_MIN, 100}, {-1, 100}, {0, 100}, {kRunPixels, 0}, {kRunPixels, -1}}) {
        info_.PixelCount = pixels;
        info_.WorkCount = samples;
        EXPECT_EQ(Changed(), 0) << pixels << " pixels, " << samples << " samples";
    }
}

const RunRow kRunRows[] = {
    {"Input33", MakeLoaded<InputTable33>, 3, 514},  {"Input34", MakeLoaded<InputTable34>, 4, 516},
    {"Input36", MakeLoaded<InputTable36>, 6, 518},  {"Input37", MakeLoaded<InputTable37>, 7, 520},
    {"Color33", MakeLoaded<ColorTable33>, 3, 514},  {"Color34", MakeLoaded<ColorTable34>, 4, 516},
    {"Color36", MakeLoaded<ColorTable36>, 6, 518},  {"Color37", MakeLoaded<ColorTable37>, 7, 520},
    {"Output3", MakeLoaded<OutputTable33>, 3, 514}, {"Output4", MakeLoaded<OutputTable33>, 4, 516},
    {"Output6", MakeLoaded<OutputTable33>, 6, 518}};
INSTANTIATE_TEST_SUITE_P(Every, UnitRun, testing::ValuesIn(kRunRows),
                         [](const auto& row) { return std::string(row.param.name); });

}  // namespace
}  // namespace hueweave::test
