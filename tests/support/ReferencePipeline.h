// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "support/ByteWriter.h"
#include "support/ProfileBuilder.h"
#include "support/ReferenceLut.h"

// A second, plain statement of the whole way from a profile to pixels, put together from the reference units. It shares
// no line with the library and is written for being read beside the rules, not for speed.
namespace hueweave::test {

/// Three tables, one a channel.
using ReferenceTables = std::array<std::vector<std::uint32_t>, 3>;
/// The X, Y and Z words of a white point.
using ReferenceWhite = std::array<std::uint32_t, 3>;
/// By tetrahedron and output channel: constant, red, green, blue.
using ReferenceCell = std::array<std::array<std::array<std::int32_t, 4>, 3>, 6>;

/// Packed input tables: 65536 entries for input encoding 1, else 256.
ReferenceTables InputStage(const ReferenceLut& lut, int inputSpace);
/// 17 x 17 x 17 nodes, red slowest; channels 0 to 2 are linear RGB of the output space.
std::vector<ReferenceNode> GridStage(const ReferenceLut& lut, double lightness, double chroma, double hue,
                                     int outputSpace, const std::optional<ReferenceWhite>& white);
/// 16 x 16 x 16 cells.
std::vector<ReferenceCell> CellStage(const std::vector<ReferenceNode>& nodes);

/// Output tables and the build result that goes with them; 65535 for an output space that there is not.
struct ReferenceOutput {
    ReferenceTables tables;
    int result = 65535;
};
ReferenceOutput OutputStage(int outputSpace);
/// The tables that three curves of bytes leave, laid over the table's own output curves; `to8` shifts them to 8 bits.
ReferenceTables AdjustedOutputStage(const ReferenceLut& lut, const Bytes& red, const Bytes& green, const Bytes& blue,
                                    int count, bool to8);

/// The engine's state and results, over profiles that lie in memory under their paths.
class ReferenceEngine {
public:
    using Disk = std::map<std::string, TagList>;
    explicit ReferenceEngine(Disk disk) : disk_(std::move(disk)) {}

    int SetProfile(const std::string& path, int intent, int input, int output, double lightness, double chroma,
                   double hue);
    int SetIntent(int intent, int input, int output);
    int ConstructEngine(double dL, double dC, double dh);
    int AdjustLch(double lightness, double chroma, double hue);
    int AdjustOutput(const Bytes& red, const Bytes& green, const Bytes& blue, int count);

    /// Whether there are input tables, and for 16-bit pixels those of 65536 entries. Else no pixel is touched.
    bool CanConvert() const;
    /// What the run of pixels comes out as: bytes for 8 bit, little-endian words for 16 bit.
    Bytes Convert(const Bytes& pixels) const;

    int intent = 0;
    int inputSpace = 65535;
    int outputSpace = 65535;
    int buildResult = 65535;
    int profileState = 65535;
    int lightness = 0;
    int chroma = 0;
    int hue = 0;
    ReferenceTables in;                ///< empty: not built
    std::vector<ReferenceCell> cells;  ///< empty: never built
    ReferenceTables out;               ///< empty: never built

private:
    std::optional<ReferenceWhite> White() const;
    int Refuse();
    /// Gives `build` the table of the intent. Returns the output space, or 65535 without a usable table.
    int Rebuild(const std::function<void(const ReferenceLut& lut)>& build);
    int BuildAll(double dL, double dC, double dh);
    void BuildGrid(const ReferenceLut& lut, double dL, double dC, double dh);

    Disk disk_;
    TagList tags_;
    std::string path_;
    bool hasPath_ = false;
};

}  // namespace hueweave::test
