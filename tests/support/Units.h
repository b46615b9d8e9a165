// SPDX-License-Identifier: MIT
#pragma once

#include <algorithm>
#include <memory>

#include "iccfile/LutTags.h"
#include "support/ProfileBuilder.h"
#include "units/WiderColorTables.h"
#include "units/WiderInputTables.h"

// The library's units by number of channels, and the tag that they load.
namespace hueweave::test {

/// The input tables with 3, 4, 6 or 7 samples per pixel.
inline std::unique_ptr<ICC40::ICC_UNIT::InputTable33> MakeInputTable(int samples) {
    using namespace ICC40::ICC_UNIT;
    if (samples == 3) return std::make_unique<InputTable33>();
    if (samples == 4) return std::make_unique<InputTable34>();
    if (samples == 6) return std::make_unique<InputTable36>();
    return std::make_unique<InputTable37>();
}

/// The grid with 3, 4, 6 or 7 output channels.
inline std::unique_ptr<ICC40::ICC_UNIT::ColorTable33> MakeColorTable(int channels) {
    using namespace ICC40::ICC_UNIT;
    if (channels == 3) return std::make_unique<ColorTable33>();
    if (channels == 4) return std::make_unique<ColorTable34>();
    if (channels == 6) return std::make_unique<ColorTable36>();
    return std::make_unique<ColorTable37>();
}

/// Stores the table in a tag. Its arrays have no spare elements, so that a sanitizer detects reads past the end.
inline void Fill(ICC40::ICCFILE::CLut16Type& tag, const LutContents& lut) {
    tag.inputChan = static_cast<std::uint8_t>(lut.inputs);
    tag.outputChan = static_cast<std::uint8_t>(lut.outputs);
    tag.clutPoints = static_cast<std::uint8_t>(lut.points);
    tag.inputEnt = static_cast<std::uint16_t>(lut.inputEntries);
    tag.outputEnt = static_cast<std::uint16_t>(lut.outputEntries);
    const auto copy = [](const Curve& values) {
        auto table = std::make_unique<std::uint16_t[]>(values.size());
        std::copy(values.begin(), values.end(), table.get());
        return table;
    };
    tag.inputTable = copy(lut.input);
    tag.clutTable = copy(lut.grid);
    tag.outputTable = copy(lut.output);
}
inline std::unique_ptr<ICC40::ICCFILE::CLut16Type> TagOf(const LutContents& lut) {
    auto tag = std::make_unique<ICC40::ICCFILE::CLut16Type>();
    Fill(*tag, lut);
    return tag;
}

}  // namespace hueweave::test
