// SPDX-License-Identifier: MIT
#include "support/ProfileBuilder.h"

#include <algorithm>
#include <cmath>

namespace hueweave::test {
namespace {

std::uint16_t Sample(double value) { return static_cast<std::uint16_t>(std::lround(std::clamp(value, 0.0, 65535.0))); }

/// 16-bit Lab of a smooth device; x, y, z in 0..1.
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

std::uint16_t Entry(CurveKind kind, double x, int i, int channel, Lcg& random) {
    switch (kind) {
        case CurveKind::Ramp:
            return Sample(x * 65535.0);
        case CurveKind::Power:
            return Sample(std::pow(x, 0.6 + 0.5 * channel) * 65535.0);
        case CurveKind::Random:
            return random.Sample();
        case CurveKind::Extremes:
            return (i + channel) % 2 == 0 ? std::uint16_t{0} : std::uint16_t{65535};
        case CurveKind::Falling:
            break;
    }
    return Sample((1.0 - x) * 65535.0);
}

std::uint32_t PlaceCurves(ByteWriter& out, const std::vector<Curve>& curves, CurveLayout layout) {
    if (curves.empty()) return 0;
    out.Align(4);
    const auto offset = static_cast<std::uint32_t>(out.Size());
    for (const auto& curve : curves) {
        out.Text("curv").Big32(0).Big32(static_cast<std::uint32_t>(curve.size())).Big16s(curve);
        layout == CurveLayout::Aligned ? out.Align(4) : out.Big16(0);
    }
    return offset;
}

std::uint32_t PlaceGrid(ByteWriter& out, const CurvedLutSpec& lut) {
    if (!lut.hasGrid) return 0;
    out.Align(4);
    const auto offset = static_cast<std::uint32_t>(out.Size());
    for (const std::uint8_t points : lut.gridPoints) out.U8(points);
    out.U8(lut.precision).Fill(3).Big16s(lut.grid);
    return offset;
}

}  // namespace

Curve MakeCurve(CurveKind kind, int entries, int channel, std::uint32_t seed) {
    Lcg random(seed * 97U + static_cast<std::uint32_t>(channel));
    Curve curve;
    for (int i = 0; i < entries; ++i) {
        const double x = entries < 2 ? 0.0 : static_cast<double>(i) / (entries - 1);
        curve.push_back(Entry(kind, x, i, channel, random));
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
    curved.grid = lut.grid;
    for (int c = 0; c < lut.inputs; ++c) {
        const auto first = lut.input.begin() + c * lut.inputEntries;
        curved.gridPoints.at(static_cast<std::size_t>(c)) = static_cast<std::uint8_t>(lut.points);
        curved.aCurves.emplace_back(first, first + lut.inputEntries);
    }
    for (int c = 0; c < lut.outputs; ++c) {
        const auto first = lut.output.begin() + c * lut.outputEntries;
        curved.bCurves.emplace_back(first, first + lut.outputEntries);
    }
    return curved;
}

ByteWriter TableHead(std::string_view type, const LutShape& shape, std::uint32_t diagonal) {
    ByteWriter out;
    out.Text(type).Big32(0);
    for (const int value : {shape.inputs, shape.outputs, shape.points, 0}) out.U8(static_cast<unsigned>(value));
    for (int i = 0; i < 9; ++i) out.Big32(i % 4 == 0 ? diagonal : 0);
    return out.Big16(static_cast<unsigned>(shape.inputEntries)).Big16(static_cast<unsigned>(shape.outputEntries));
}

Bytes Mft2(const LutContents& lut) {
    // A matrix whose use would be obvious: 2 on the diagonal.
    ByteWriter out =
        TableHead("mft2", {lut.inputs, lut.outputs, lut.points, lut.inputEntries, lut.outputEntries}, 0x20000);
    return out.Big16s(lut.input).Big16s(lut.grid).Big16s(lut.output).Align(4).Done();
}

Bytes EncodeCurved(const CurvedLutSpec& lut) {
    ByteWriter out;
    out.Text(lut.type).Big32(0);
    out.U8(static_cast<unsigned>(lut.inputs)).U8(static_cast<unsigned>(lut.outputs)).Fill(22);
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

Bytes ProfileBuilder::Header() {
    ByteWriter out;
    out.Fill(8).Big32(0x02400000).Text("scnrRGB Lab ").Fill(12).Text("acsp").Fill(28);
    return out.Big32(0xf6d6).Big32(0x10000).Big32(0xd32d).Fill(48).Done();
}

ProfileBuilder& ProfileBuilder::Raw(std::string_view name, Bytes block) {
    while (block.size() % 4 != 0) block.push_back(0);
    tags_.emplace_back(std::string(name), std::move(block));
    return *this;
}

}  // namespace hueweave::test
