// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
//
// Output tables beside their reference: curves of a profile and of a caller, every final form, runs of pixels.
#include <algorithm>
#include <memory>

#include "Tables.h"
#include "units/Info.h"
#include "units/OutputTable33.h"

using namespace hueweave::fuzz;
using namespace ICC40::ICC_UNIT;
using hueweave::test::Form;
using hueweave::test::PlainNode;
using hueweave::test::ReferenceOutputs;
using hueweave::test::Words;

namespace {

void CheckTables(const OutputTable33& unit, const ReferenceOutputs& reference) {
    for (std::size_t c = 0; c < 7; ++c) {
        Require(std::equal(reference.table[c].begin(), reference.table[c].end(), unit.Lut16[c]), "table");
        Require(std::equal(reference.curve[c].begin(), reference.curve[c].end(), unit.Curve[c]), "curve");
    }
}

int Apply(OutputTable33& unit, Form form, ICC40::ICCFILE::ColorSpaceSignature space) {
    switch (form) {
        case Form::Gamma100:
            return unit.OutputGamma100(space);
        case Form::Gamma180:
            return unit.OutputGamma180(space);
        case Form::Gamma180_16:
            return unit.OutputGamma180_16(space);
        case Form::Srgb:
            return unit.OutputGamma_sRGB();
        case Form::Srgb_16:
            return unit.OutputGamma_sRGB_16();
        case Form::KodakPhoto:
            return unit.OutputGamma_KodakPhoto();
        case Form::KodakPhoto_16:
            return unit.OutputGamma_KodakPhoto_16();
        case Form::KodakMix:
            return unit.OutputGamma_KodakMix();
        case Form::KodakMix_16:
            return unit.OutputGamma_KodakMix_16();
        case Form::KodakText:
            return unit.OutputGamma_KodakText();
        case Form::KodakText_16:
            return unit.OutputGamma_KodakText_16();
        case Form::Rgb8:
            return unit.OutputRGB8();
        case Form::Lab8:
            return unit.OutputLab_8();
        case Form::Lab16:
            return unit.OutputLab_16();
        case Form::Cmyk8:
            return unit.OutputCMYK_8();
        case Form::Cmyk16:
            return unit.OutputCMYK_16();
        case Form::Clr6_8:
            return unit.OutputCLR6_8();
        case Form::Clr6_16:
            return unit.OutputCLR6_16();
        case Form::Clr7_8:
            return unit.OutputCLR7_8();
        default:
            return unit.OutputCLR7_16();
    }
}

void LoadCurves(OutputTable33& unit, ReferenceOutputs& reference, FuzzInput& input) {
    if (input.Bool()) {
        const int outputs = input.Between(0, 7), entries = DrawEntries(input);
        const auto lut = DrawLut(input, 1, outputs, 2, 2, entries);
        const auto tag = TagOf(lut);
        Require(unit.Initial(tag.get()) == 0, "result of loading");
        reference.Load(lut);
        Require(unit.Channels == reference.channels && unit.Entries == reference.entries, "shape");
    } else {
        const std::size_t count = input.Bool() ? 256 : input.Below(4097);
        Bytes curves[3];
        Scatter scatter(input.U16());
        for (Bytes& curve : curves) {
            for (std::size_t i = 0; i < count; ++i) curve.push_back(static_cast<unsigned char>(scatter.Next()));
        }
        Require(unit.Initial(curves[0].data(), curves[1].data(), curves[2].data(), static_cast<int>(count)) == 0,
                "result of curves");
        reference.Load(curves[0], curves[1], curves[2]);
    }
    Require(unit.Step == reference.step && unit.Span == reference.span, "step");
}

void CheckPoints(OutputTable33& unit, const ReferenceOutputs& reference, FuzzInput& input) {
    for (int n = 0; n < 6; ++n) {
        PlainNode at{};
        for (int& value : at) value = input.Between(0, 65534);
        PlainNode v = at;
        unit.Interpolation(v[0], v[1], v[2], v[3], v[4], v[5], v[6]);
        Require(v == reference.Points(at), "points of the curves");
    }
}

void CheckRun(OutputTable33& unit, const ReferenceOutputs& reference, FuzzInput& input) {
    const int code = DrawCode(input), pixels = input.Between(-2, 60);
    const auto layout = hueweave::test::LayoutOf(code);
    const auto count = static_cast<std::size_t>(std::max(pixels, 0));
    const std::size_t samples = count * static_cast<std::size_t>(layout.channels);
    Bytes dest(samples * static_cast<std::size_t>(layout.destBytes), 0xa5), expected = dest;
    Info job;
    job.FormatCode = code;
    job.CheckWorkingBuf(nullptr, input.Below(8) == 0 ? nullptr : dest.data(), pixels);
    Words work(samples);
    Scatter scatter(input.U16());
    for (std::size_t i = 0; i < samples; ++i) {
        work[i] = job.WorkBuf[i] = static_cast<unsigned short>(scatter.Sample());
    }
    if (job.Dest != nullptr) reference.Run(code, work, static_cast<int>(count), expected);
    Require(unit.Conversion(&job) == 0, "result of a run");
    Require(dest == expected, "bytes of a run");
    Require(std::equal(work.begin(), work.end(), job.WorkBuf.get()), "the working buffer is read only");
    if (samples < 3) return;
    unsigned short s[7] = {work[0], work[1], work[2], 1, 2, 3, 4};
    unit.Conversion(s[0], s[1], s[2], s[3], s[4], s[5], s[6]);
    for (std::size_t c = 0; c < 3; ++c) {
        Require(s[c] == (reference.table[c][work[c]] & 0xffff), "single values");
    }
    Require(s[3] == 1 && s[4] == 2 && s[5] == 3 && s[6] == 4, "channels behind the third");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzInput input(data, size);
    const auto unit = std::make_unique<OutputTable33>();
    ReferenceOutputs reference;
    CheckTables(*unit, reference);
    const std::size_t loads = input.Below(3);
    for (std::size_t n = 0; n < loads; ++n) {
        LoadCurves(*unit, reference, input);
        CheckTables(*unit, reference);
    }
    if (loads != 0) CheckPoints(*unit, reference, input);
    const std::size_t forms = input.Below(3);
    for (std::size_t n = 0; n < forms; ++n) {
        const auto form = static_cast<Form>(input.Below(hueweave::test::kForms));
        const int space = input.Between(0, 40);
        const int result = Apply(*unit, form, static_cast<ICC40::ICCFILE::ColorSpaceSignature>(space));
        Require(result == reference.Apply(form, space), "encoding");
        Require(unit->OutputMode == reference.mode, "mode");
        CheckTables(*unit, reference);
    }
    CheckRun(*unit, reference, input);
    CheckRun(*unit, reference, input);
    if (input.Bool()) {
        unit->ResetTable();
        reference.Reset();
        CheckTables(*unit, reference);
        CheckRun(*unit, reference, input);
    }
    return 0;
}
