// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "iccfile/LutTags.h"
#include "support/ReferenceUnits.h"

namespace hueweave::test {

/// A table as the reference units take it: its curves, without the grid.
inline PlainLut PlainOf(const ICC40::ICCFILE::CLut16Type& lut) {
    PlainLut plain;
    plain.inputs = lut.inputChan;
    plain.outputs = lut.outputChan;
    plain.inputEntries = lut.inputEnt;
    plain.outputEntries = lut.outputEnt;
    const auto copy = [](const std::unique_ptr<std::uint16_t[]>& table, int count) {
        return std::vector<int>(table.get(), table.get() + count);
    };
    plain.input = copy(lut.inputTable, plain.inputs * plain.inputEntries);
    plain.output = copy(lut.outputTable, plain.outputs * plain.outputEntries);
    return plain;
}

}  // namespace hueweave::test
