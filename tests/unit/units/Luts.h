// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#pragma once

#include <cstdint>
#include <functional>

#include "iccfile/LutTags.h"

namespace hueweave::test {

/// Fills a table in memory: `input(channel, entry)`, `node(i, j, k, channel)` and `output(channel, entry)` give the
/// values.
struct LutMaker {
    int inputs = 3, outputs = 3, points = 17, inputEntries = 2, outputEntries = 2;
    std::function<int(int, int)> input = [](int, int) { return 0; };
    std::function<int(int, int, int, int)> node = [](int, int, int, int) { return 0; };
    std::function<int(int, int)> output = [](int, int) { return 0; };

    void Fill(ICC40::ICCFILE::CLut16Type& lut) const {
        lut.inputChan = static_cast<std::uint8_t>(inputs);
        lut.outputChan = static_cast<std::uint8_t>(outputs);
        lut.clutPoints = static_cast<std::uint8_t>(points);
        lut.inputEnt = static_cast<std::uint16_t>(inputEntries);
        lut.outputEnt = static_cast<std::uint16_t>(outputEntries);
        const auto table = [](int count) {
            return std::make_unique<std::uint16_t[]>(static_cast<std::size_t>(count) + 8);
        };
        lut.inputTable = table(inputs * inputEntries);
        lut.clutTable = table(points * points * points * outputs);
        lut.outputTable = table(outputs * outputEntries);
        std::size_t at = 0;
        for (int c = 0; c < inputs; ++c) {
            for (int n = 0; n < inputEntries; ++n) lut.inputTable[at++] = static_cast<std::uint16_t>(input(c, n));
        }
        at = 0;
        for (int i = 0; i < points; ++i) {
            for (int j = 0; j < points; ++j) {
                for (int k = 0; k < points; ++k) {
                    for (int c = 0; c < outputs; ++c)
                        lut.clutTable[at++] = static_cast<std::uint16_t>(node(i, j, k, c));
                }
            }
        }
        at = 0;
        for (int c = 0; c < outputs; ++c) {
            for (int n = 0; n < outputEntries; ++n) lut.outputTable[at++] = static_cast<std::uint16_t>(output(c, n));
        }
    }
};

}  // namespace hueweave::test
