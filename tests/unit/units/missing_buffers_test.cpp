// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
//
// Jobs that lack a buffer, or whose counts do not fit the one that they have.
#include <gtest/gtest.h>

#include <functional>

#include "unit/units/UnitHelpers.h"
#include "units/InputTable33.h"
#include "units/OutputTable33.h"
#include "units/WiderColorTables.h"
#include "units/WiderInputTables.h"

namespace hueweave::test {
namespace {

using ICC40::ICC_UNIT::ColorTable34;
using ICC40::ICC_UNIT::ColorTable36;
using ICC40::ICC_UNIT::ColorTable37;
using ICC40::ICC_UNIT::InputTable33;
using ICC40::ICC_UNIT::InputTable34;
using ICC40::ICC_UNIT::InputTable36;
using ICC40::ICC_UNIT::InputTable37;
using ICC40::ICC_UNIT::OutputTable33;

/// A unit that takes a working buffer of some samples a pixel, and a code of that many channels: 16 bits on both sides.
struct BufferedUnit {
    const char* name;
    std::function<std::unique_ptr<Base>()> make;
    int channels;
    int code;
};
void PrintTo(const BufferedUnit& unit, std::ostream* out) { *out << unit.name; }

template <typename Unit>
std::unique_ptr<Base> MakeUnit() {
    return std::make_unique<Unit>();
}

template <typename Unit>
std::unique_ptr<Base> MakeInput() {
    auto unit = std::make_unique<Unit>();
    unit->Initial(MakeLut({}).get(), Space(1));  // the identity
    return unit;
}

template <typename Unit>
std::unique_ptr<Base> MakeGridUnit() {
    auto unit = std::make_unique<Unit>();
    unit->Initial(MakeLut({.outputs = 7, .points = 9}).get());
    return unit;
}

constexpr int kBufferedPixels = 5;
constexpr unsigned short kSource = 0x1234, kWork = 0x4321, kDest = 0x1111;

class MissingBuffer : public testing::TestWithParam<BufferedUnit> {
protected:
    MissingBuffer() {
        info_.FormatCode = GetParam().code;
        auto* const source = reinterpret_cast<unsigned char*>(source_.data());
        auto* const dest = reinterpret_cast<unsigned char*>(dest_.data());
        EXPECT_EQ(info_.CheckWorkingBuf(source, dest, kBufferedPixels), 0);
        EXPECT_EQ(info_.WorkCount, Samples());
        Refill();
    }
    int Samples() const { return kBufferedPixels * GetParam().channels; }
    void Refill() {
        if (info_.WorkBuf != nullptr) std::fill_n(info_.WorkBuf.get(), Samples(), kWork);
        std::fill(dest_.begin(), dest_.end(), kDest);
    }
    /// How many pixels, in working or destination samples, the unit has changed since; they must be the first.
    int Changed() const {
        int changed = 0;
        for (int p = 0; p < kBufferedPixels; ++p) {
            bool touched = false;
            for (int c = 0; c < GetParam().channels; ++c) {
                const auto at = static_cast<std::size_t>(p * GetParam().channels + c);
                touched |= dest_[at] != kDest || (info_.WorkBuf != nullptr && info_.WorkBuf[at] != kWork);
            }
            if (!touched) continue;
            EXPECT_EQ(changed, p) << "pixels in between were left out";
            ++changed;
        }
        return changed;
    }

    Info info_;
    std::vector<unsigned short> source_ = std::vector<unsigned short>(kBufferedPixels * 7, kSource);
    std::vector<unsigned short> dest_ = std::vector<unsigned short>(kBufferedPixels * 7, kDest);
    const std::unique_ptr<Base> unit_ = GetParam().make();
};

TEST_P(MissingBuffer, OfNoneChangesEveryPixel) {
    EXPECT_EQ(unit_->Conversion(&info_), 0);
    EXPECT_EQ(Changed(), kBufferedPixels);
}

TEST_P(MissingBuffer, OfTheOtherTwoConversionsIsNoFailure) {
    unsigned char bytes[6] = {1, 2, 3, 4, 5, 6};
    EXPECT_EQ(unit_->Conversion(bytes, 2), 0);
    EXPECT_EQ(std::vector<int>(bytes, bytes + 6), (std::vector<int>{1, 2, 3, 4, 5, 6})) << "an empty operation";
    unsigned short s[7] = {1, 2, 3, 4, 5, 6, 7};
    EXPECT_EQ(unit_->Conversion(s[0], s[1], s[2], s[3], s[4], s[5], s[6]), 0);
}

TEST_P(MissingBuffer, OfTheWorkIsAnEmptyRun) {
    info_.DeleteWorkingBuf();
    EXPECT_EQ(info_.WorkCount, Samples()) << "the count stays";
    EXPECT_EQ(unit_->Conversion(&info_), 0);
    EXPECT_EQ(Changed(), 0);
}

TEST_P(MissingBuffer, OfSourceOrDestinationIsAnEmptyRunOfTheUnitThatUsesIt) {
    const std::string name = GetParam().name;
    info_.Source = nullptr;
    EXPECT_EQ(unit_->Conversion(&info_), 0);
    EXPECT_EQ(Changed(), name.starts_with("Input") ? 0 : kBufferedPixels);
    info_.Source = reinterpret_cast<unsigned char*>(source_.data());
    info_.Dest = nullptr;
    Refill();
    EXPECT_EQ(unit_->Conversion(&info_), 0);
    EXPECT_EQ(Changed(), name.starts_with("Output") ? 0 : kBufferedPixels);
}

TEST_P(MissingBuffer, OfSomePixelsEndsWithTheLastThatIsThere) {
    for (const int pixels : {kBufferedPixels - 1, 1 << 30}) {
        info_.PixelCount = pixels;
        info_.WorkCount = 3 * GetParam().channels - 1;
        Refill();
        EXPECT_EQ(unit_->Conversion(&info_), 0);
        ASSERT_EQ(Changed(), 2) << pixels;
    }
    for (const auto& [pixels, samples] : {std::pair{-1, 100}, {0, 100}, {kBufferedPixels, 0}, {kBufferedPixels, -1}}) {
        info_.PixelCount = pixels;
        info_.WorkCount = samples;
        Refill();
        EXPECT_EQ(unit_->Conversion(&info_), 0);
        EXPECT_EQ(Changed(), 0) << pixels << " pixels, " << samples << " samples";
    }
}

const BufferedUnit kBufferedUnits[] = {
    {"Input33", MakeInput<InputTable33>, 3, 514},    {"Input34", MakeInput<InputTable34>, 4, 516},
    {"Input36", MakeInput<InputTable36>, 6, 518},    {"Input37", MakeInput<InputTable37>, 7, 520},
    {"Color33", MakeGridUnit<ColorTable33>, 3, 514}, {"Color34", MakeGridUnit<ColorTable34>, 4, 516},
    {"Color36", MakeGridUnit<ColorTable36>, 6, 518}, {"Color37", MakeGridUnit<ColorTable37>, 7, 520},
    {"Output3", MakeUnit<OutputTable33>, 3, 514},    {"Output4", MakeUnit<OutputTable33>, 4, 516},
    {"Output6", MakeUnit<OutputTable33>, 6, 518}};
INSTANTIATE_TEST_SUITE_P(Every, MissingBuffer, testing::ValuesIn(kBufferedUnits),
                         [](const auto& row) { return std::string(row.param.name); });

}  // namespace
}  // namespace hueweave::test
