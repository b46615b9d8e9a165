// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#include "support/ProfileBuilder.h"

#include <algorithm>
#include <cmath>

namespace hueweave::test {
namespace {

std::uint16_t Sample(double value) { return static_cast<std::uint16_t>(std::lround(std::clamp(value, 0.0, 65535.0))); }

/// Lab on the 16-bit scale of a smooth device; x, y, z in 0..1.
std::uint16_t ScannerNode(double x, double y, double z, int channel) {
    const double r = std::pow(x, 1.8);
    const double g = std::pow(y, 1.8);
    const double b = std::pow(z, 1.8);
    const double fx = std::cbrt((0.4361 * r + 0.3851 * g + 0.1431 * b) / 0.9643);
    const double fy = std::cbrt(0.2225 * r + 0.7169 * g + 0.0606 * b);
    const double fz = std::cbrt((0.0139 * r + 0.0971 * g + 0.7141 * b) / 0.8251);
    if (channel == 0) return Sample(std::max(0.0, 116.0 * fy - 16.0) * 652.8);
    if (channel == 1) return Sample(500.0 * (fx - fy) * 256.0 + 32768.0);
    if (channel == 2) return Sample(200.0 * (fy - fz) * 256.0 + 32768.0);
    return Sample((x + 2.0 * y + z) * 16000.0 / (channel + 1));
}

std::uint16_t Node(GridKind kind, double x, double y, double z, int channel, Lcg& random) {
    switch (kind) {
        case GridKind::Scanner:
            return ScannerNode(x, y, z, channel);
        case GridKind::Neutral:
            return channel == 0 ? Sample((x + y + z) / 3.0 * 65280.0) : std::uint16_t{32768};
        case GridKind::Random:
            return random.Sample();
        case GridKind::Extremes:
            return random.Below(2) == 0 ? std::uint16_t{0} : std::uint16_t{65535};
        case GridKind::Falling:
            break;
    }
    const double light = 1.0 - (x + 3.0 * y + 2.0 * z) / 6.0;
    if (channel == 0) return Sample(light * 65280.0);
    return Sample(32768.0 + (light - 0.5) * (channel == 1 ? 20000.0 : 31000.0) - 6000.0 * (channel == 1 ? z : x));
}

std::uint32_t PlaceCurves(ByteWriter& out, const std::vector<std::vector<std::uint16_t>>& curves, CurveLayout layout) {
    if (curves.empty()) return 0;
    out.Align(4);
    const auto offset = static_cast<std::uint32_t>(out.Size());
    for (const auto& curve : curves) {
        out.Text("curv").Big32(0).Big32(static_cast<std::uint32_t>(curve.size()));
        for (const std::uint16_t entry : curve) out.Big16(entry);
        if (layout == CurveLayout::Aligned) {
            out.Align(4);
        } else {
            out.Big16(0);
        }
    }
    return offset;
}

std::uint32_t PlaceGrid(ByteWriter& out, const CurvedLutSpec& lut) {
    if (!lut.hasGrid) return 0;
    out.Align(4);
    const auto offset = static_cast<std::uint32_t>(out.Size());
    for (const std::uint8_t points : lut.gridPoints) out.U8(points);
    out.U8(lut.precision).Fill(3);
    for (const std::uint16_t value : lut.grid) out.Big16(value);
    return offset;
}

}  // namespace

std::string NameOf(CurveKind kind) {
    const char* const names[] = {"Ramp", "Power", "Random", "Extremes", "Falling"};
    return names[static_cast<int>(kind)];
}

std::string NameOf(GridKind kind) {
    const char* const names[] = {"Scanner", "Neutral", "Random", "Extremes", "Falling"};
    return names[static_cast<int>(kind)];
}

std::vector<std::uint16_t> MakeCurve(CurveKind kind, int entries, int channel, std::uint32_t seed) {
    Lcg random(seed * 97U + static_cast<std::uint32_t>(channel));
    std::vector<std::uint16_t> curve;
    for (int i = 0; i < entries; ++i) {
        const double x = entries < 2 ? 0.0 : static_cast<double>(i) / (entries - 1);
        switch (kind) {
            case CurveKind::Ramp:
                curve.push_back(Sample(x * 65535.0));
                break;
            case CurveKind::Power:
                curve.push_back(Sample(std::pow(x, 0.6 + 0.5 * channel) * 65535.0));
                break;
            case CurveKind::Random:
                curve.push_back(random.Sample());
                break;
            case CurveKind::Extremes:
                curve.push_back((i + channel) % 2 == 0 ? std::uint16_t{0} : std::uint16_t{65535});
                break;
            case CurveKind::Falling:
                curve.push_back(Sample((1.0 - x) * 65535.0));
                break;
        }
    }
    return curve;
}

LutContents MakeLut(const LutShape& shape, int axes) {
    LutContents lut{shape.inputs, shape.outputs, shape.points, shape.inputEntries, shape.outputEntries, {}, {}, {}};
    for (int c = 0; c < shape.inputs; ++c) {
        const auto curve = MakeCurve(shape.inputKind, shape.inputEntries, c, shape.seed);
        lut.input.insert(lut.input.end(), curve.begin(), curve.end());
    }
    for (int c = 0; c < shape.outputs; ++c) {
        const auto curve = MakeCurve(shape.outputKind, shape.outputEntries, c, shape.seed + 11);
        lut.output.insert(lut.output.end(), curve.begin(), curve.end());
    }
    Lcg random(shape.seed * 31U + 7U);
    int nodes = 1;
    for (int axis = 0; axis < axes; ++axis) nodes *= shape.points;
    for (int n = 0; n < nodes; ++n) {
        const double span = shape.points - 1;
        const double z = n % shape.points / span;
        const double y = n / shape.points % shape.points / span;
        const double x = n / shape.points / shape.points / span;
        for (int c = 0; c < shape.outputs; ++c) lut.grid.push_back(Node(shape.grid, x, y, z, c, random));
    }
    return lut;
}

CurvedLutSpec Curved(const LutContents& lut, CurveLayout layout) {
    CurvedLutSpec curved;
    curved.inputs = lut.inputs;
    curved.outputs = lut.outputs;
    curved.layout = layout;
    for (int axis = 0; axis < lut.inputs; ++axis) {
        curved.gridPoints.at(static_cast<std::size_t>(axis)) = static_cast<std::uint8_t>(lut.points);
    }
    curved.grid = lut.grid;
    for (int c = 0; c < lut.inputs; ++c) {
        const auto first = lut.input.begin() + c * lut.inputEntries;
        curved.aCurves.emplace_back(first, first + lut.inputEntries);
    }
    for (int c = 0; c < lut.outputs; ++c) {
        const auto first = lut.output.begin() + c * lut.outputEntries;
        curved.bCurves.emplace_back(first, first + lut.outputEntries);
    }
    return curved;
}

Bytes EncodeMft2(const LutContents& lut) {
    ByteWriter out;
    out.Text("mft2").Big32(0);
    out.U8(static_cast<unsigned>(lut.inputs)).U8(static_cast<unsigned>(lut.outputs));
    out.U8(static_cast<unsigned>(lut.points)).U8(0);
    // A matrix that would show at once if anybody applied it: 2 on the diagonal.
    for (int i = 0; i < 9; ++i) out.Big32(i % 4 == 0 ? 0x20000U : 0U);
    out.Big16(static_cast<unsigned>(lut.inputEntries)).Big16(static_cast<unsigned>(lut.outputEntries));
    for (const std::uint16_t value : lut.input) out.Big16(value);
    for (const std::uint16_t value : lut.grid) out.Big16(value);
    for (const std::uint16_t value : lut.output) out.Big16(value);
    return out.Align(4).Done();
}

Bytes EncodeCurved(const CurvedLutSpec& lut) {
    ByteWriter out;
    out.Text(lut.type).Big32(0);
    out.U8(static_cast<unsigned>(lut.inputs)).U8(static_cast<unsigned>(lut.outputs)).Fill(2);
    out.Fill(20);
    const auto& first = lut.aFirst ? lut.aCurves : lut.bCurves;
    const auto& last = lut.aFirst ? lut.bCurves : lut.aCurves;
    const std::uint32_t firstOffset = PlaceCurves(out, first, lut.layout);
    const std::uint32_t mOffset = PlaceCurves(out, lut.mCurves, lut.layout);
    const std::uint32_t gridOffset = PlaceGrid(out, lut);
    const std::uint32_t lastOffset = PlaceCurves(out, last, lut.layout);
    out.PatchBig32(12, lut.aFirst ? lastOffset : firstOffset);
    out.PatchBig32(20, mOffset);
    out.PatchBig32(24, gridOffset);
    out.PatchBig32(28, lut.aFirst ? firstOffset : lastOffset);
    return out.Align(4).Done();
}

ProfileBuilder::ProfileBuilder() : header_(128, 0) {
    HeaderWord(8, 0x02400000).HeaderWord(12, 0x73636e72).HeaderWord(16, 0x52474220).HeaderWord(20, 0x4c616220);
    HeaderWord(36, 0x61637370).HeaderWord(68, 0xf6d6).HeaderWord(72, 0x10000).HeaderWord(76, 0xd32d);
}

ProfileBuilder& ProfileBuilder::HeaderWord(std::size_t offset, std::uint32_t word) {
    for (std::size_t i = 0; i < 4; ++i) header_.at(offset + i) = static_cast<unsigned char>(word >> (24 - 8 * i));
    return *this;
}

ProfileBuilder& ProfileBuilder::Xyz(std::string_view name, std::uint32_t x, std::uint32_t y, std::uint32_t z) {
    return Raw(name, ByteWriter().Text("XYZ ").Big32(0).Big32(x).Big32(y).Big32(z).Done());
}

ProfileBuilder& ProfileBuilder::Raw(std::string_view name, Bytes block) {
    while (block.size() % 4 != 0) block.push_back(0);
    tags_.emplace_back(std::string(name), std::move(block));
    return *this;
}

Bytes ProfileBuilder::Build() const {
    ByteWriter out;
    out.Append(header_).Big32(static_cast<std::uint32_t>(tags_.size()));
    std::size_t at = 132 + 12 * tags_.size();
    for (const auto& [name, block] : tags_) {
        out.Text(name).Big32(static_cast<std::uint32_t>(at)).Big32(static_cast<std::uint32_t>(block.size()));
        at += block.size();
    }
    for (const auto& [name, block] : tags_) out.Append(block);
    out.PatchBig32(0, static_cast<std::uint32_t>(at));
    return out.Done();
}

}  // namespace hueweave::test
