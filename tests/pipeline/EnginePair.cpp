// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#include "EnginePair.h"

#include <algorithm>
#include <cstddef>

#include "support/Matchers.h"

namespace hueweave::test {
namespace {

using ICC40::ICC_ENG_S4::CIccEngineS;
using ICC40::ICCFILE::ColorSpaceSignature;
using ICC40::ICCFILE::Intent;

testing::AssertionResult SameTable(const char* name, const std::uint32_t* table,
                                   const std::vector<std::uint32_t>& expected) {
    for (std::size_t i = 0; i < expected.size(); ++i) {
        if (table[i] != expected[i]) {
            return testing::AssertionFailure() << name << "[" << i << "] is " << table[i] << ", not " << expected[i];
        }
    }
    return testing::AssertionSuccess();
}

testing::AssertionResult SameCells(const CIccEngineS& engine, const std::vector<ReferenceCell>& cells) {
    for (std::size_t n = 0; n < cells.size(); ++n) {
        for (std::size_t place = 0; place < 72; ++place) {
            const std::size_t record = place / 12, channel = place / 4 % 3, term = place % 4;
            const std::int32_t expected = cells[n][record][channel][term];
            const std::int32_t value = engine.Lut3D[n][record][channel][term];
            if (value == expected) continue;
            return testing::AssertionFailure() << "Lut3D[" << n << "][" << record << "][" << channel << "][" << term
                                               << "] is " << value << ", not " << expected;
        }
    }
    return testing::AssertionSuccess();
}

}  // namespace

std::vector<int> OutputSpaces() {
    std::vector<int> spaces;
    for (int space = 8; space <= 13; ++space) spaces.push_back(space);
    for (int space = 20; space <= 31; ++space) spaces.push_back(space);
    for (int space = 34; space <= 39; ++space) spaces.push_back(space);
    return spaces;
}

testing::AssertionResult SameTables(const CIccEngineS& engine, const ReferenceEngine& reference) {
    const auto entries = static_cast<int>(reference.in[0].size());
    if (engine.InEntries != entries) {
        return testing::AssertionFailure() << "InEntries is " << engine.InEntries << ", not " << entries;
    }
    const std::uint32_t* const in[] = {engine.Lut1DInR.get(), engine.Lut1DInG.get(), engine.Lut1DInB.get()};
    const std::uint32_t* const out[] = {engine.Lut1DOutR, engine.Lut1DOutG, engine.Lut1DOutB};
    const char* const inNames[] = {"Lut1DInR", "Lut1DInG", "Lut1DInB"};
    const char* const outNames[] = {"Lut1DOutR", "Lut1DOutG", "Lut1DOutB"};
    for (std::size_t c = 0; c < 3; ++c) {
        if ((in[c] == nullptr) != reference.in[c].empty()) {
            return testing::AssertionFailure() << inNames[c] << (in[c] == nullptr ? " is null" : " is there");
        }
        if (auto same = SameTable(inNames[c], in[c], reference.in[c]); !same) return same;
        if (auto same = SameTable(outNames[c], out[c], reference.out[c]); !same) return same;
    }
    return SameCells(engine, reference.cells);
}

testing::AssertionResult SameState(const CIccEngineS& engine, const ReferenceEngine& reference) {
    const struct {
        const char* name;
        int value;
        int expected;
    } fields[] = {
        {"ProfileState", engine.Unit.ProfileState, reference.profileState},
        {"Intent", engine.Unit.Intent, reference.intent},
        {"InputSpace", engine.Unit.InputSpace, reference.inputSpace},
        {"OutputSpace", engine.Unit.OutputSpace, reference.outputSpace},
        {"BuildResult", engine.Unit.BuildResult, reference.buildResult},
        {"Lightness", engine.Unit.Lightness, reference.lightness},
        {"Chroma", engine.Unit.Chroma, reference.chroma},
        {"Hue", engine.Unit.Hue, reference.hue},
    };
    for (const auto& field : fields) {
        if (field.value == field.expected) continue;
        return testing::AssertionFailure() << field.name << " is " << field.value << ", not " << field.expected;
    }
    return testing::AssertionSuccess();
}

EnginePair::EnginePair(const std::map<std::string, ProfileBuilder>& profiles)
    : engine_(std::make_unique<CIccEngineS>()), reference_(WriteAll(dir_, profiles)) {}

ReferenceEngine::Disk EnginePair::WriteAll(const TempDir& dir, const std::map<std::string, ProfileBuilder>& profiles) {
    ReferenceEngine::Disk disk;
    for (const auto& [name, profile] : profiles) {
        profile.Write(dir.File(name));
        disk[dir.File(name)] = profile.Tags();
    }
    return disk;
}

void EnginePair::ExpectSame(int result, int expected) {
    EXPECT_EQ(result, expected);
    EXPECT_TRUE(SameState(*engine_, reference_));
    EXPECT_TRUE(SameTables(*engine_, reference_));
}

void EnginePair::SetProfile(const std::string& name, int intent, int input, int output, double lightness, double chroma,
                            double hue) {
    const std::string path = dir_.File(name);
    const int result =
        engine_->SetProfile(path.c_str(), static_cast<Intent>(intent), static_cast<ColorSpaceSignature>(input),
                            static_cast<ColorSpaceSignature>(output), lightness, chroma, hue);
    ExpectSame(result, reference_.SetProfile(path, intent, input, output, lightness, chroma, hue));
}

void EnginePair::SetIntent(int intent, int input, int output) {
    // The adjustments given here count for nothing; any would do.
    const int result = engine_->SetIntent(static_cast<Intent>(intent), static_cast<ColorSpaceSignature>(input),
                                          static_cast<ColorSpaceSignature>(output), 11.0, 22.0, 33.0);
    ExpectSame(result, reference_.SetIntent(intent, input, output));
}

void EnginePair::ConstructEngine(double lightness, double chroma, double hue) {
    const int result = engine_->ConstructEngine(lightness, chroma, hue);
    ExpectSame(result, reference_.ConstructEngine(lightness, chroma, hue));
}

void EnginePair::AdjustLch(double lightness, double chroma, double hue) {
    const int result = engine_->Adjust_Lch(lightness, chroma, hue);
    ExpectSame(result, reference_.AdjustLch(lightness, chroma, hue));
}

void EnginePair::AdjustOutput(const Bytes& red, const Bytes& green, const Bytes& blue, int count) {
    const auto lent = [](const Bytes& curve) { return curve.empty() ? nullptr : curve.data(); };
    const int result = engine_->Adjust_Output(lent(red), lent(green), lent(blue), count);
    ExpectSame(result, reference_.AdjustOutput(red, green, blue, count));
}

void EnginePair::Convert(const Bytes& pixels) {
    const bool wide = reference_.inputSpace == 1;
    const Bytes untouched(pixels.size(), 0xa5);
    Bytes source = pixels;
    Bytes dest = untouched;
    const auto count = static_cast<int>(pixels.size() / (wide ? 6 : 3));
    EXPECT_EQ(engine_->Conversion(source.data(), dest.data(), count), 0);
    const Bytes expected = reference_.Converts() ? reference_.Convert(pixels) : wide ? untouched : pixels;
    EXPECT_THAT(wide ? dest : source, EqualsBytes(expected));
    // 8-bit runs leave the destination, 16-bit runs the source.
    EXPECT_THAT(wide ? source : dest, EqualsBytes(wide ? pixels : untouched));
}

}  // namespace hueweave::test
