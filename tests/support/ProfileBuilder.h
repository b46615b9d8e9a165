// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "support/ByteWriter.h"

namespace hueweave::test {

/// A small random number generator with the same values on every machine.
class Lcg {
public:
    explicit Lcg(std::uint32_t seed) : state_(seed) {}
    /// 24 bits.
    std::uint32_t Next() {
        state_ = state_ * 1664525U + 1013904223U;
        return state_ >> 8;
    }
    std::uint32_t Below(std::uint32_t limit) { return Next() % limit; }
    std::uint16_t Sample() { return static_cast<std::uint16_t>(Next() >> 4 & 0xffffU); }

private:
    std::uint32_t state_;
};

enum class CurveKind {
    Ramp,      ///< 0 to 65535 in equal steps
    Power,     ///< 0 to 65535, with a different exponent for each channel
    Random,    ///< random values
    Extremes,  ///< 0 and 65535 alternately
    Falling,   ///< 65535 to 0
};

enum class GridKind {
    Scanner,   ///< smooth Lab of a device with an exponent of 1.8
    Neutral,   ///< L* from the mean of the axes, a* and b* neutral
    Random,    ///< random values
    Extremes,  ///< 0 or 65535 at random
    Falling,   ///< every channel falls along every axis
};

inline std::string NameOf(CurveKind kind) {
    return std::array{"Ramp", "Power", "Random", "Extremes", "Falling"}.at(static_cast<std::size_t>(kind));
}
inline std::string NameOf(GridKind kind) {
    return std::array{"Scanner", "Neutral", "Random", "Extremes", "Falling"}.at(static_cast<std::size_t>(kind));
}

/// The parameters of a table; `MakeLut` computes the values.
struct LutShape {
    int inputs = 3;
    int outputs = 3;
    int points = 17;
    int inputEntries = 256;
    int outputEntries = 256;
    CurveKind inputKind = CurveKind::Power;
    CurveKind outputKind = CurveKind::Ramp;
    GridKind grid = GridKind::Scanner;
    std::uint32_t seed = 1;
};

/// A count or position, which is never negative.
inline std::size_t AsIndex(int value) { return static_cast<std::size_t>(value); }

using Curve = std::vector<std::uint16_t>;

/// A device-to-PCS table in 16-bit values: curves channel after channel, the grid with its last axis fastest.
struct LutContents {
    int inputs = 0;
    int outputs = 0;
    int points = 0;
    int inputEntries = 0;
    int outputEntries = 0;
    Curve input;                      ///< inputs x inputEntries
    std::vector<std::uint16_t> grid;  ///< points^gridAxes x outputs
    Curve output;                     ///< outputs x outputEntries
};

Curve MakeCurve(CurveKind kind, int entries, int channel, std::uint32_t seed);
/// A table whose grid has `axes` axes: 3, as every "mft2" block has, or as many as the "mAB " table has inputs.
LutContents MakeLut(const LutShape& shape, int axes = 3);

enum class CurveLayout {
    Aligned,  ///< 12 + 2n bytes a curve, rounded up to a multiple of 4, as the format requires
    Stepped,  ///< 14 + 2n bytes a curve, as the reader advances
};

/// An "mAB " or "mBA " block in which every field can be set to invalid values.
struct CurvedLutSpec {
    int inputs = 3;
    int outputs = 3;
    std::array<std::uint8_t, 16> gridPoints{};
    unsigned precision = 2;  ///< announced bytes a value; the values are always written with 2
    std::vector<std::uint16_t> grid;
    std::vector<Curve> aCurves;  ///< if empty, its offset is 0
    std::vector<Curve> bCurves;
    std::vector<Curve> mCurves;
    bool hasGrid = true;  ///< else its offset is 0
    CurveLayout layout = CurveLayout::Aligned;
    bool aFirst = false;  ///< A curves, grid, B curves; else B curves, grid, A curves
    std::string type = "mAB ";
};

/// The same table with A curves on the input side and B curves on the output side. It must have as many grid axes as
/// inputs.
CurvedLutSpec Curved(const LutContents& lut, CurveLayout layout);

/// The start of a table in the "mft2" layout, up to its input curves, with the same word on the diagonal of its matrix.
ByteWriter TableHead(std::string_view type, const LutShape& shape, std::uint32_t diagonal);
Bytes Mft2(const LutContents& lut);
Bytes EncodeCurved(const CurvedLutSpec& lut);

inline Bytes XyzBlock(std::uint32_t x, std::uint32_t y, std::uint32_t z) {
    return ByteWriter().Text("XYZ ").Big32(0).Big32(x).Big32(y).Big32(z).Done();
}

/// Name and block of each tag, in file order.
using TagList = std::vector<std::pair<std::string, Bytes>>;

/// Header, tag table and blocks, each block padded to a multiple of 4. `tags` are pairs of name and block.
template <typename Tags>
Bytes Container(const Bytes& header, const Tags& tags) {
    ByteWriter out;
    out.Append(header).Big32(static_cast<std::uint32_t>(tags.size()));
    std::size_t at = header.size() + 4 + 12 * tags.size();
    for (const auto& [name, block] : tags) {
        out.Text(name).Big32(static_cast<std::uint32_t>(at)).Big32(static_cast<std::uint32_t>(block.size()));
        at += (block.size() + 3) / 4 * 4;
    }
    for (const auto& [name, block] : tags) out.Append(block).Align(4);
    return out.Done();
}
/// The same, with the file size in the header.
template <typename Tags>
Bytes SizedContainer(const Bytes& header, const Tags& tags) {
    ByteWriter out;
    out.Append(Container(header, tags));
    out.PatchBig32(0, static_cast<std::uint32_t>(out.Size()));
    return out.Done();
}

/// A complete profile of an RGB scanner.
class ProfileBuilder {
public:
    /// Sets a big-endian word of the header.
    ProfileBuilder& HeaderWord(std::size_t offset, std::uint32_t word) {
        for (std::size_t i = 0; i < 4; ++i) header_.at(offset + i) = static_cast<unsigned char>(word >> (24 - 8 * i));
        return *this;
    }
    ProfileBuilder& Mft2(std::string_view name, const LutContents& lut) { return Raw(name, test::Mft2(lut)); }
    ProfileBuilder& MftAB(std::string_view name, const CurvedLutSpec& lut) { return Raw(name, EncodeCurved(lut)); }
    /// The three words as stored in the file: fixed point with 16 fractional bits.
    ProfileBuilder& Xyz(std::string_view name, std::uint32_t x, std::uint32_t y, std::uint32_t z) {
        return Raw(name, XyzBlock(x, y, z));
    }
    ProfileBuilder& Raw(std::string_view name, Bytes block);

    const TagList& Tags() const { return tags_; }
    Bytes Build() const { return SizedContainer(header_, tags_); }
    void Write(const std::string& path) const { WriteFile(path, Build()); }

private:
    static Bytes Header();

    Bytes header_ = Header();
    TagList tags_;
};

}  // namespace hueweave::test
