// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
//
// Input curves of every width compared with their reference: tables, single values and runs of pixels.
#include <algorithm>
#include <memory>
#include <span>

#include "Tables.h"
#include "units/WiderInputTables.h"

namespace hueweave::fuzz {
namespace {

/// Single values of a unit with one to four curves; the other channels are 0.
template <typename Unit>
void CheckPoints(Unit& unit, std::span<const std::vector<int>> curves, double step, FuzzInput& input) {
    Seven values{}, expected{};
    for (std::size_t c = 0; c < curves.size(); ++c) {
        values[c] = static_cast<unsigned short>(input.Between(0, 65534));
        if (step != 0.0) expected[c] = static_cast<unsigned short>(ReferenceCurvePoint(curves[c], step, values[c]));
    }
    Require(Converted(unit, values) == expected, "points of the curves");
}

void CheckRun(InputTable33& unit, const ReferenceInput& reference, FuzzInput& input) {
    Run run(input);
    Bytes source = ScatteredBytes(AsIndex(run.pixels * 3 * run.layout.sourceBytes), input.U16());
    const Bytes before = source;
    run.Allocate(source.data(), nullptr);
    run.Scattered(1);
    const int result = reference.Run(run.code, source, run.pixels, run.words);
    Require(unit.Conversion(&run.job) == result, "result of a run");
    run.Check("samples of a run");
    Require(source == before, "pixels are read only");
}

/// The unit of four curves: single values only.
void CheckFour(const ReferenceLut& lut, FuzzInput& input) {
    const auto unit = std::make_unique<InputTable43>();
    Require(unit->Initial(TagOf(lut).get()) == 0, "result of loading");
    std::vector<std::vector<int>> curves(4, std::vector<int>(4097));
    for (int c = 0; c < lut.inputs; ++c) {
        std::copy_n(lut.input.begin() + c * lut.inputEntries, lut.inputEntries, curves[AsIndex(c)].begin());
    }
    if (lut.inputEntries < 2) {
        Converted(*unit, Seven{1, 2, 3, 4});  // has no effect: with fewer than two entries there is no interval
    } else {
        CheckPoints(*unit, curves, 65535.0 / (lut.inputEntries - 1), input);
    }
}

void CheckState(const InputTable33& unit, const ReferenceInput& reference) {
    Require(unit.Bits == reference.bits, "bits");
    CheckTables(unit, reference);
}

}  // namespace

void RunTarget(FuzzInput& input) {
    const int outputs = DrawChannels(input);
    const auto unit = MakeInputTable(outputs);
    ReferenceInput reference(outputs);
    for (int n = 0; n < 8; ++n) CheckPoints(*unit, reference.curve, reference.step, input);
    for (std::size_t loads = 1 + input.Below(2); loads > 0; --loads) {
        const int inputs = input.Between(0, 3), entries = DrawEntries(input), space = input.Between(0, 6);
        const ReferenceLut lut = DrawLut(input, inputs, 1, 2, entries, 2);
        const auto tag = TagOf(lut);
        Require(unit->Initial(tag.get(), static_cast<ICC40::ICCFILE::ColorSpaceSignature>(space)) == 0, "loading");
        reference.Load(lut, space);
        CheckState(*unit, reference);
    }
    for (int n = 0; n < 8; ++n) CheckPoints(*unit, reference.curve, reference.step, input);
    for (std::size_t changes = input.Below(4); changes > 0; --changes) {
        const std::size_t how = input.Below(3);
        const int result = how == 0   ? unit->Change_Lut16_To_Lut8()
                           : how == 1 ? unit->Change_Lut16_To_Lab8()
                                      : unit->Change_Lut16_To_Lab16();
        Require(result == 0, "result of a change");
        how == 0 ? reference.ToLut8() : how == 1 ? reference.ToLab8() : reference.ToLab16();
        CheckState(*unit, reference);
    }
    for (int n = 0; n < 3; ++n) CheckRun(*unit, reference, input);
    const auto copy = MakeInputTable(3);
    Require(copy->Initial(unit.get()) == 0 && copy->Bits == unit->Bits, "a copy");
    for (std::size_t c = 0; c < 3; ++c) {
        Require(std::equal(unit->Lut16[c], unit->Lut16[c] + 65536, copy->Lut16[c]), "table of a copy");
    }
    const int inputs = input.Between(0, 4), entries = DrawEntries(input);
    CheckFour(DrawLut(input, inputs, 1, 2, entries, 2), input);
}

}  // namespace hueweave::fuzz
