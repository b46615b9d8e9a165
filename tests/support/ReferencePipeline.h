// SPDX-License-Identifier: MIT
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
#include "support/ReferenceUnits.h"

// An independent implementation of the whole conversion from a profile to pixels, composed of the reference units. It
// shares no code with the library and is written to be compared with the rules, not for speed.
namespace hueweave::test {

/// Three tables, one for each channel.
using ReferenceTables = std::array<std::vector<std::uint32_t>, 3>;
/// The X, Y and Z words of a white point.
using ReferenceWhite = std::array<std::uint32_t, 3>;
/// Indexed by tetrahedron and output channel: constant, red, green, blue.
using ReferenceCell = std::array<std::array<std::array<std::int32_t, 4>, 3>, 6>;

/// Packed input tables: 65536 entries for input encoding 1, else 256.
ReferenceTables InputStage(const LutContents& lut, int inputSpace);
/// 17 x 17 x 17 nodes, red slowest; channels 0 to 2 are linear RGB of the output space.
std::vector<ReferenceNode> GridStage(const LutContents& lut, double lightness, double chroma, double hue,
                                     int outputSpace, const std::optional<ReferenceWhite>& white);
/// 16 x 16 x 16 cells.
std::vector<ReferenceCell> CellStage(const std::vector<ReferenceNode>& nodes);

/// Output tables and the corresponding build result; 65535 for an unknown output space.
struct ReferenceOutput {
    ReferenceTables tables;
    int result = 65535;
};
ReferenceOutput OutputStage(int outputSpace);
/// The tables for three 8-bit curves, loaded over the table's own output curves; `to8` shifts them to 8 bits.
ReferenceTables AdjustedOutputStage(const LutContents& lut, const Bytes& red, const Bytes& green, const Bytes& blue,
                                    int count, bool to8);

/// The engine's state and results for profiles in memory, found by their paths.
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

    /// Whether there are input tables, for 16-bit pixels those of 65536 entries. Otherwise no pixel is converted.
    bool CanConvert() const;
    /// The converted pixels: bytes for 8 bits, little-endian words for 16 bits.
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
    /// Passes the table of the intent to `build`. Returns the output space, or 65535 without a usable table.
    int Rebuild(const std::function<void(const LutContents& lut)>& build);
    int BuildAll(double dL, double dC, double dh);
    void BuildGrid(const LutContents& lut, double dL, double dC, double dh);

    Disk disk_;
    TagList tags_;
    std::string path_;
    bool hasPath_ = false;
};

}  // namespace hueweave::test
