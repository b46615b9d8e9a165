// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "support/ByteWriter.h"

namespace hueweave::test {

/// A small generator whose values are the same on every machine.
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
    Power,     ///< 0 to 65535, another exponent for each channel
    Random,    ///< anything
    Extremes,  ///< 0 or 65535 by turns
    Falling,   ///< 65535 to 0
};

enum class GridKind {
    Scanner,   ///< smooth Lab of a device with an exponent of 1.8
    Neutral,   ///< L* from the mean of the axes, a* and b* neutral
    Random,    ///< anything
    Extremes,  ///< 0 or 65535 at random
    Falling,   ///< every channel falls along every axis
};

std::string NameOf(CurveKind kind);
std::string NameOf(GridKind kind);

/// What a table is made of; `MakeLut` works out the values.
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

/// A device-to-PCS table in 16-bit values: curves channel after channel, the grid with its last axis fastest.
struct LutContents {
    int inputs = 0;
    int outputs = 0;
    int points = 0;
    int inputEntries = 0;
    int outputEntries = 0;
    std::vector<std::uint16_t> input;   ///< inputs x inputEntries
    std::vector<std::uint16_t> grid;    ///< points^gridAxes x outputs
    std::vector<std::uint16_t> output;  ///< outputs x outputEntries
};

std::vector<std::uint16_t> MakeCurve(CurveKind kind, int entries, int channel, std::uint32_t seed);
/// A table whose grid has `axes` axes: 3, as every "mft2" block has, or as many as the "mAB " table has inputs.
LutContents MakeLut(const LutShape& shape, int axes = 3);

enum class CurveLayout {
    Aligned,  ///< 12 + 2n bytes a curve, up to a multiple of 4, as the format wants
    Stepped,  ///< 14 + 2n bytes a curve, as the reader steps
};

/// An "mAB " or "mBA " block, open to every distortion.
struct CurvedLutSpec {
    int inputs = 3;
    int outputs = 3;
    std::array<std::uint8_t, 16> gridPoints{};
    unsigned precision = 2;  ///< announced bytes a value; the values are written with 2 whatever stands here
    std::vector<std::uint16_t> grid;
    std::vector<std::vector<std::uint16_t>> aCurves;  ///< none: the offset is 0
    std::vector<std::vector<std::uint16_t>> bCurves;
    std::vector<std::vector<std::uint16_t>> mCurves;
    bool hasGrid = true;  ///< else its offset is 0
    CurveLayout layout = CurveLayout::Aligned;
    bool aFirst = false;  ///< A curves, grid, B curves; else B curves, grid, A curves
    std::string type = "mAB ";
};

/// The same table with A curves for the input and B curves for the output side. Made from a table whose grid has as
/// many axes as inputs.
CurvedLutSpec Curved(const LutContents& lut, CurveLayout layout);

Bytes EncodeMft2(const LutContents& lut);
Bytes EncodeCurved(const CurvedLutSpec& lut);

/// Name and block of each tag, in file order.
using TagList = std::vector<std::pair<std::string, Bytes>>;

/// A whole profile: header, tag table and blocks, each block padded to a multiple of 4.
class ProfileBuilder {
public:
    ProfileBuilder();
    /// A big-endian word of the header.
    ProfileBuilder& HeaderWord(std::size_t offset, std::uint32_t word);
    ProfileBuilder& Mft2(std::string_view name, const LutContents& lut) { return Raw(name, EncodeMft2(lut)); }
    ProfileBuilder& MftAB(std::string_view name, const CurvedLutSpec& lut) { return Raw(name, EncodeCurved(lut)); }
    /// The three words as they are to stand in the file: fixed point, 16 bits of fraction.
    ProfileBuilder& Xyz(std::string_view name, std::uint32_t x, std::uint32_t y, std::uint32_t z);
    ProfileBuilder& Raw(std::string_view name, Bytes block);

    const TagList& Tags() const { return tags_; }
    Bytes Build() const;
    void Write(const std::string& path) const { WriteFile(path, Build()); }

private:
    Bytes header_;
    TagList tags_;
};

}  // namespace hueweave::test
