// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
//
// Input curves of every width beside their reference: tables, single values and runs of pixels.
#include <algorithm>
#include <memory>

#include "Tables.h"
#include "units/Info.h"
#include "units/WiderInputTables.h"

using namespace hueweave::fuzz;
using namespace ICC40::ICC_UNIT;
using hueweave::test::PlainLut;
using hueweave::test::ReferenceInput;
using hueweave::test::Words;

namespace {

std::unique_ptr<InputTable33> MakeUnit(int outputs) {
    if (outputs == 3) return std::make_unique<InputTable33>();
    if (outputs == 4) return std::make_unique<InputTable34>();
    if (outputs == 6) return std::make_unique<InputTable36>();
    return std::make_unique<InputTable37>();
}

void CheckTables(const InputTable33& unit, const ReferenceInput& reference) {
    Require(unit.Bits == reference.bits, "bits");
    for (std::size_t c = 0; c < 3; ++c) {
        Require(std::equal(reference.table[c].begin(), reference.table[c].end(), unit.Lut16[c]), "table");
        Require(std::equal(reference.curve[c].begin(), reference.curve[c].end(), unit.Curve[c]), "curve");
    }
}

void CheckPoints(InputTable33& unit, const ReferenceInput& reference, FuzzInput& input) {
    for (int n = 0; n < 8; ++n) {
        unsigned short s[7] = {};
        int sample[3];
        for (int c = 0; c < 3; ++c) {
            sample[c] = input.Between(0, 65534);
            s[c] = static_cast<unsigned short>(sample[c]);
        }
        unit.Conversion(s[0], s[1], s[2], s[3], s[4], s[5], s[6]);
        for (std::size_t c = 0; c < 3; ++c) {
            const int expected = reference.step == 0.0 ? 0
                                                       : hueweave::test::ReferenceCurvePoint(reference.curve[c],
                                                                                             reference.step, sample[c]);
            Require(s[c] == expected, "point of a curve");
        }
        for (std::size_t c = 3; c < 7; ++c) Require(s[c] == 0, "channels that the unit does not have");
    }
}

void CheckRun(InputTable33& unit, const ReferenceInput& reference, FuzzInput& input) {
    const int code = DrawCode(input), pixels = input.Between(-2, 60);
    const auto layout = hueweave::test::LayoutOf(code);
    const auto count = static_cast<std::size_t>(std::max(pixels, 0));
    Bytes source(count * 3 * static_cast<std::size_t>(layout.sourceBytes));
    Scatter scatter(input.U16());
    for (unsigned char& byte : source) byte = static_cast<unsigned char>(scatter.Next());
    const Bytes before = source;
    Info job;
    job.FormatCode = code;
    const int made = job.CheckWorkingBuf(source.data(), nullptr, pixels);
    Require(made == (layout.channels == 0 ? 65534 : 0), "result of a working buffer");
    const std::size_t samples = count * static_cast<std::size_t>(layout.channels);
    Require(job.WorkCount == static_cast<int>(samples), "samples of a working buffer");
    for (std::size_t i = 0; i < samples; ++i) job.WorkBuf[i] = 0xa5a5;
    Words expected(samples, 0xa5a5);
    const int result = reference.Run(code, source, static_cast<int>(count), expected);
    Require(unit.Conversion(&job) == result, "result of a run");
    Require(std::equal(expected.begin(), expected.end(), job.WorkBuf.get()), "samples of a run");
    Require(source == before, "pixels are read only");
}

/// The unit of four curves: single values only.
void CheckFour(const PlainLut& lut, FuzzInput& input) {
    const auto unit = std::make_unique<InputTable43>();
    const auto tag = TagOf(lut);
    Require(unit->Initial(tag.get()) == 0, "result of loading");
    unsigned short s[7] = {};
    int sample[4];
    for (int c = 0; c < 4; ++c) {
        sample[c] = input.Between(0, 65534);
        s[c] = static_cast<unsigned short>(sample[c]);
    }
    unit->Conversion(s[0], s[1], s[2], s[3], s[4], s[5], s[6]);
    if (lut.inputEntries < 2) return;  // there is no step between fewer than two entries
    for (int c = 0; c < 4; ++c) {
        std::vector<int> curve(4097);
        for (int n = 0; n < lut.inputEntries && c < lut.inputs; ++n) {
            curve[static_cast<std::size_t>(n)] = lut.input[static_cast<std::size_t>(c * lut.inputEntries + n)];
        }
        const double step = 65535.0 / (lut.inputEntries - 1);
        Require(s[c] == hueweave::test::ReferenceCurvePoint(curve, step, sample[c]), "point of four curves");
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static constexpr int kOutputs[] = {3, 4, 6, 7};
    FuzzInput input(data, size);
    const int outputs = kOutputs[input.Below(4)];
    const auto unit = MakeUnit(outputs);
    ReferenceInput reference(outputs);
    CheckPoints(*unit, reference, input);
    const std::size_t loads = 1 + input.Below(2);
    for (std::size_t n = 0; n < loads; ++n) {
        const int inputs = input.Between(0, 3), entries = DrawEntries(input), space = input.Between(0, 6);
        const PlainLut lut = DrawLut(input, inputs, 1, 2, entries, 2);
        const auto tag = TagOf(lut);
        Require(unit->Initial(tag.get(), static_cast<ICC40::ICCFILE::ColorSpaceSignature>(space)) == 0, "loading");
        reference.Load(lut, space);
        CheckTables(*unit, reference);
    }
    CheckPoints(*unit, reference, input);
    const std::size_t changes = input.Below(4);
    for (std::size_t n = 0; n < changes; ++n) {
        const std::size_t how = input.Below(3);
        const int result = how == 0   ? unit->Change_Lut16_To_Lut8()
                           : how == 1 ? unit->Change_Lut16_To_Lab8()
                                      : unit->Change_Lut16_To_Lab16();
        Require(result == 0, "result of a change");
        how == 0 ? reference.ToLut8() : how == 1 ? reference.ToLab8() : reference.ToLab16();
        CheckTables(*unit, reference);
    }
    for (int n = 0; n < 3; ++n) CheckRun(*unit, reference, input);
    const auto copy = MakeUnit(3);
    Require(copy->Initial(unit.get()) == 0 && copy->Bits == unit->Bits, "a copy");
    for (std::size_t c = 0; c < 3; ++c) {
        Require(std::equal(unit->Lut16[c], unit->Lut16[c] + 65536, copy->Lut16[c]), "table of a copy");
    }
    const int inputs = input.Between(0, 4), entries = DrawEntries(input);
    CheckFour(DrawLut(input, inputs, 1, 2, entries, 2), input);
    return 0;
}
