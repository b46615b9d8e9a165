// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
//
// Output tables compared with their reference: curves of a profile and of a caller, every final form, runs of pixels.
#include <algorithm>
#include <memory>

#include "Tables.h"
#include "units/OutputTable33.h"

namespace hueweave::fuzz {
namespace {

int Apply(OutputTable33& unit, Form form, ICC40::ICCFILE::ColorSpaceSignature space) {
    if (form == Form::Gamma100) return unit.OutputGamma100(space);
    if (form == Form::Gamma180) return unit.OutputGamma180(space);
    if (form == Form::Gamma180_16) return unit.OutputGamma180_16(space);
    using Apply = int (OutputTable33::*)();
    // In the order of the forms, starting with Srgb.
    static constexpr Apply kApply[] = {&OutputTable33::OutputGamma_sRGB,
                                       &OutputTable33::OutputGamma_sRGB_16,
                                       &OutputTable33::OutputGamma_KodakPhoto,
                                       &OutputTable33::OutputGamma_KodakPhoto_16,
                                       &OutputTable33::OutputGamma_KodakMix,
                                       &OutputTable33::OutputGamma_KodakMix_16,
                                       &OutputTable33::OutputGamma_KodakText,
                                       &OutputTable33::OutputGamma_KodakText_16,
                                       &OutputTable33::OutputRGB8,
                                       &OutputTable33::OutputLab_8,
                                       &OutputTable33::OutputLab_16,
                                       &OutputTable33::OutputCMYK_8,
                                       &OutputTable33::OutputCMYK_16,
                                       &OutputTable33::OutputCLR6_8,
                                       &OutputTable33::OutputCLR6_16,
                                       &OutputTable33::OutputCLR7_8,
                                       &OutputTable33::OutputCLR7_16};
    const auto number = static_cast<std::size_t>(form) - static_cast<std::size_t>(Form::Srgb);
    return (unit.*kApply[number])();
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
        const unsigned seed = input.U16();
        Bytes curves[3] = {ScatteredBytes(count, seed), ScatteredBytes(count, seed + 1),
                           ScatteredBytes(count, seed + 2)};
        Require(unit.Initial(curves[0].data(), curves[1].data(), curves[2].data(), static_cast<int>(count)) == 0,
                "result of curves");
        reference.Load(curves[0], curves[1], curves[2]);
    }
    Require(unit.Step == reference.step && unit.Span == reference.span, "step");
}

void CheckPoints(OutputTable33& unit, const ReferenceOutputs& reference, FuzzInput& input) {
    for (int n = 0; n < 6; ++n) {
        ReferenceNode at{};
        for (int& value : at) value = input.Between(0, 65534);
        ReferenceNode v = at;
        unit.Interpolation(v[0], v[1], v[2], v[3], v[4], v[5], v[6]);
        Require(v == reference.Points(at), "points of the curves");
    }
}

void CheckRun(OutputTable33& unit, const ReferenceOutputs& reference, FuzzInput& input) {
    Run run(input);
    Bytes dest(AsIndex(run.pixels * run.layout.channels * run.layout.destBytes), 0xa5), expected = dest;
    const bool nowhere = input.Below(8) == 0;
    run.Allocate(nullptr, nowhere ? nullptr : dest.data());
    run.Scattered(input.U16());
    if (run.job.Dest != nullptr) reference.Run(run.code, run.words, run.pixels, expected);
    Require(unit.Conversion(&run.job) == 0, "result of a run");
    Require(dest == expected, "bytes of a run");
    run.Check("the working buffer is read only");
    if (run.words.size() < 3) return;
    Seven single{run.words[0], run.words[1], run.words[2], 1, 2, 3, 4}, results = single;
    for (std::size_t c = 0; c < 3; ++c) results[c] = static_cast<unsigned short>(reference.table[c][single[c]]);
    Require(Converted(unit, single) == results, "single values");
}

}  // namespace

void RunTarget(FuzzInput& input) {
    const auto unit = std::make_unique<OutputTable33>();
    ReferenceOutputs reference;
    CheckTables(*unit, reference);
    const std::size_t loads = input.Below(3);
    for (std::size_t n = 0; n < loads; ++n) {
        LoadCurves(*unit, reference, input);
        CheckTables(*unit, reference);
    }
    if (loads != 0) CheckPoints(*unit, reference, input);
    for (std::size_t forms = input.Below(3); forms > 0; --forms) {
        const auto form = static_cast<Form>(input.Below(kForms));
        const int space = input.Between(0, 40);
        const int result = Apply(*unit, form, static_cast<ICC40::ICCFILE::ColorSpaceSignature>(space));
        Require(result == reference.Apply(form, space), "encoding");
        Require(unit->OutputMode == reference.mode, "mode");
        CheckTables(*unit, reference);
    }
    CheckRun(*unit, reference, input);
    CheckRun(*unit, reference, input);
    if (!input.Bool()) return;
    unit->ResetTable();
    reference.Reset();
    CheckTables(*unit, reference);
    CheckRun(*unit, reference, input);
}

}  // namespace hueweave::fuzz
