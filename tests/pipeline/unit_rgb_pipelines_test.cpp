// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
//
// The units as an engine uses them: the grid shifted, resampled and turned into RGB, and the tone curve of the space.
// Runs of pixels through them give what the plain arithmetic gives, and what an engine of that profile gives.
#include "pipeline/EnginePair.h"
#include "pipeline/UnitFamily.h"
#include "support/ProfileBuilder.h"
#include "unit/color/NaiveLch.h"

namespace hueweave::test {
namespace {

using ICC40::ICC_UNIT::OutputTable33;
using ICC40::ICCFILE::ColorSpaceSignature;

struct Job {
    int points, inputEntries, outputEntries;
    int input, output;
    double lightness, chroma, hue;
    friend std::ostream& operator<<(std::ostream& out, const Job& job) {
        return out << job.points << " points, from " << job.input << " to " << job.output << ", shifted by "
                   << job.lightness << " " << job.chroma << " " << job.hue;
    }
};

Triple LabOf(int t0, int t1, int t2) {
    return {t0 * 100.0 / 65280.0, (t1 - 32768) * 0.00390625, (t2 - 32768) * 0.00390625};
}

/// The shift, on 16-bit Lab.
void ShiftNode(PlainNode& node, const Job& job) {
    const Triple lab = LabOf(node[0], node[1], node[2]);
    const auto polar = NaiveChromaHue(lab[1], lab[2]);
    const Triple lch = NaiveAdjust({lab[0], polar[0], polar[1]}, job.lightness, job.chroma, job.hue);
    const auto ab = NaiveAB(lch[1], lch[2]);
    node[0] = static_cast<int>(lch[0] * 65280.0 / 100.0);
    node[1] = static_cast<int>(256.0 * ab[0] + 32768.0);
    node[2] = static_cast<int>(256.0 * ab[1] + 32768.0);
}

/// The output curves, then linear RGB of 8 bits.
void TurnToRgb(PlainNode& node, const ReferenceOutputs& curves, int output) {
    int t[3];
    for (std::size_t c = 0; c < 3; ++c) t[c] = curves.table[c][static_cast<std::size_t>(node[c])] & 0xffff;
    const int primaries = output >= 20 && output <= 31 ? (output - 16) / 4 : 0;
    const Triple rgb = NaiveLabToRGB(LabOf(t[0], t[1], t[2]), {63195.0, 65535.0, 54073.0}, primaries);
    for (std::size_t c = 0; c < 3; ++c) node[c] = static_cast<int>(rgb[c]) << 8;
}

/// The tone curve of the space, for the spaces of these tests.
void GiveTone(UnitFamily& family, int output) {
    const auto space = static_cast<ColorSpaceSignature>(output);
    OutputTable33& unit = *family.output;
    ReferenceOutputs& plain = family.plainOutput;
    switch (output) {
        case 8:
            EXPECT_EQ(unit.OutputGamma_sRGB(), plain.Apply(Form::Srgb, output));
            return;
        case 9:
            EXPECT_EQ(unit.OutputGamma_sRGB_16(), plain.Apply(Form::Srgb_16, output));
            return;
        case 20:
            EXPECT_EQ(unit.OutputGamma100(space), plain.Apply(Form::Gamma100, output));
            return;
        case 26:
            EXPECT_EQ(unit.OutputGamma180(space), plain.Apply(Form::Gamma180, output));
            return;
        case 31:
            EXPECT_EQ(unit.OutputGamma180_16(space), plain.Apply(Form::Gamma180_16, output));
            return;
        case 34:
            EXPECT_EQ(unit.OutputGamma_KodakPhoto(), plain.Apply(Form::KodakPhoto, output));
            return;
        case 39:
            EXPECT_EQ(unit.OutputGamma_KodakText_16(), plain.Apply(Form::KodakText_16, output));
            return;
        default:
            return;  // 11, 21, 25, 29: the identity stays
    }
}

LutContents SpecOf(const PlainLut& lut) {
    LutContents contents;
    contents.inputs = lut.inputs;
    contents.outputs = lut.outputs;
    contents.points = lut.points;
    contents.inputEntries = lut.inputEntries;
    contents.outputEntries = lut.outputEntries;
    for (int value : lut.input) contents.input.push_back(static_cast<std::uint16_t>(value));
    for (int value : lut.grid) contents.grid.push_back(static_cast<std::uint16_t>(value));
    for (int value : lut.output) contents.output.push_back(static_cast<std::uint16_t>(value));
    return contents;
}

class UnitRgbPipelineTest : public testing::TestWithParam<Job> {
protected:
    /// Loads the units and builds what an engine builds.
    void Build(const PlainLut& lut) {
        const Job job = GetParam();
        const auto tag = TagOf(lut);
        family_.Load(lut);
        if (job.input == 0) {
            family_.input->Change_Lut16_To_Lut8();
            family_.plainInput.ToLut8();
        }
        ReferenceGrid& plain = family_.plainGrid;
        if (job.lightness != 0 || job.chroma != 0 || job.hue != 0) {
            EXPECT_EQ(family_.grid->Adjust_Lch(job.lightness, job.chroma, job.hue), 0);
            for (PlainNode& node : plain.nodes) ShiftNode(node, job);
        }
        family_.grid->TableResize(17);
        plain.Resize(17);
        family_.grid->Lab2RGB100_16(tag.get(), static_cast<ColorSpaceSignature>(job.output), nullptr);
        for (PlainNode& node : plain.nodes) TurnToRgb(node, family_.plainOutput, job.output);
        family_.output->ResetTable();
        family_.plainOutput.Reset();
        GiveTone(family_, job.output);
    }
    UnitFamily family_{3};
};

TEST_P(UnitRgbPipelineTest, GivesTheReferenceSamplesAndThoseOfAnEngine) {
    const Job job = GetParam();
    PlainLut lut = ScatteredLut(3, job.points, job.inputEntries, job.outputEntries, 31);
    RaiseCurves(lut);
    Build(lut);
    const bool wide = job.input == 1;
    const Bytes source = wide ? BytesOf(WordPixels(17, 32)) : BytePixels(33);
    const auto pixels = static_cast<int>(source.size() / (wide ? 6 : 3));
    const Bytes run = family_.Expect(wide ? 514 : 257, source, pixels);

    EnginePair pair({{"units.icc", ProfileBuilder().Mft2("A2B0", SpecOf(lut))}});
    pair.SetProfile("units.icc", 0, job.input, job.output, job.lightness, job.chroma, job.hue);
    Bytes from = source, to(source.size());
    EXPECT_EQ(pair.Engine().Conversion(from.data(), to.data(), pixels), 0);
    ExpectSamples(wide ? to : from, run, "the engine's pixels");
}

INSTANTIATE_TEST_SUITE_P(Jobs, UnitRgbPipelineTest,
                         testing::Values(Job{17, 2, 2, 1, 11, 0, 0, 0}, Job{33, 256, 256, 1, 9, 0, 0, 0},
                                         Job{9, 17, 3, 1, 31, 6, -8, 30}, Job{5, 4096, 17, 1, 39, 0, 0, 0},
                                         Job{25, 3, 4096, 1, 21, -5, 5, -100}, Job{17, 256, 2, 0, 8, 0, 0, 0},
                                         Job{33, 2, 256, 0, 20, 0, 12, 0}, Job{2, 17, 17, 0, 26, 0, 0, 720},
                                         Job{9, 4096, 256, 0, 34, -10, 0, 0}));

}  // namespace
}  // namespace hueweave::test
