// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <optional>
#include <vector>

#include "support/ByteWriter.h"
#include "support/ProfileBuilder.h"

namespace hueweave::test {

/// A device-to-PCS table in the form that engines and units use: curves in sequence, nodes with the third axis fastest.
struct ReferenceLut {
    int inputs = 0;
    int outputs = 0;
    int points = 0;
    int inputEntries = 0;
    int outputEntries = 0;
    std::vector<int> input;
    std::vector<int> grid;
    std::vector<int> output;
};

ReferenceLut AsReference(const LutContents& lut);
/// The table in an A2B tag's block; nothing if no engine accepts it.
std::optional<ReferenceLut> DecodeLutTag(const Bytes& block);

/// Channels 0 to 6 of one node.
using ReferenceNode = std::array<int, 7>;

}  // namespace hueweave::test
