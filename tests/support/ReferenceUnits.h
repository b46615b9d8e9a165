// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <cstddef>
#include <vector>

#include "support/ByteWriter.h"
#include "support/NaiveLch.h"
#include "support/ProfileBuilder.h"

// Reference implementations of the pipeline's units: plain structs with plain loops for input curves, grid and output
// curves. They share no code with the library. Working buffers hold 16-bit samples, pixel after pixel.
namespace hueweave::test {

using Words = std::vector<unsigned short>;

/// Channels 0 to 6 of one node.
using ReferenceNode = std::array<int, 7>;

/// Indexed by tetrahedron number: the order of the axes from the first to the last corner of a cell.
inline constexpr std::size_t kTetrahedra[6][3] = {{0, 1, 2}, {0, 2, 1}, {2, 0, 1}, {1, 0, 2}, {1, 2, 0}, {2, 1, 0}};

/// The tetrahedron that contains a colour, from its fractions on the three axes.
std::size_t TetrahedronOf(double fx, double fy, double fz);

/// Channels of a format code and the width of its samples in bytes; 0 channels for an invalid code.
struct CodeLayout {
    int channels, sourceBytes, destBytes;
};
CodeLayout LayoutOf(int code);

/// Input curves. `outputs` is the second digit of the unit's name, 3, 4, 6 or 7, and the number of samples per pixel.
struct ReferenceInput {
    explicit ReferenceInput(int outputs) : stride(outputs) {}
    /// Curves of `lut` expanded for 16-bit samples, then rearranged for the encoding `space`.
    void Load(const LutContents& lut, int space);
    void ToLut8();
    void ToLab8();
    void ToLab16();
    /// 0, or 65535 for a code with another number of channels; then nothing is written.
    int Run(int code, const Bytes& source, int pixels, Words& work) const;

    int stride;
    int bits = 16;
    double step = 0;
    std::array<std::vector<int>, 3> curve{std::vector<int>(4096), std::vector<int>(4096), std::vector<int>(4096)};
    std::array<std::vector<int>, 3> table{std::vector<int>(65536), std::vector<int>(65536), std::vector<int>(65536)};
};

/// A value between two entries of a curve, rounded to nearest. `step` is the distance of the entries, `span` divides
/// the rest.
int PointBetween(const std::vector<int>& curve, double step, double span, int v);
/// One point of an input curve.
inline int ReferenceCurvePoint(const std::vector<int>& curve, double step, int sample) {
    return PointBetween(curve, step, step, sample) & 0xffff;
}

struct ReferenceCurves;

/// A grid of any size with seven values per node, third axis fastest.
struct ReferenceGrid {
    /// Nodes of `lut`; sizes other than 9, 17 and 33 are resampled to 17.
    void Load(const LutContents& lut);
    void Resize(int size);
    /// The size with its shift and mask, without step and positions.
    void SetSize(int size);
    const ReferenceNode& Node(int i, int j, int k) const;
    /// A channel at the first corner of a cell, and its increments along the three axes within a tetrahedron.
    std::array<long long, 4> Edges(const std::array<int, 3>& cell, std::size_t tetrahedron, std::size_t channel) const;

    /// Integer interpolation, for 9, 17 or 33 points: low 16 bits of all seven channels.
    std::array<unsigned short, 7> InterpolateFixed(int x, int y, int z) const;
    /// Floating-point interpolation, for any size.
    ReferenceNode InterpolateFloat(int x, int y, int z) const;
    /// A working buffer of `channels` samples per pixel.
    void Run(int channels, int pixels, Words& work) const;

    /// Offsets nodes in Lab by L*, C* and h, which may be any numbers.
    void Shift(const Triple& by);
    /// Converts nodes in Lab through output curves to linear RGB of the primaries, 0 to 3, under a white point.
    void ToRgb(const ReferenceCurves& curves, const Triple& white, int primaries);

    int points = 0;
    int shift = 11;
    int mask = 2047;
    double step = 0;
    std::vector<int> positions;
    std::vector<ReferenceNode> nodes;
};

/// The final forms of the output tables.
enum class Form {
    Gamma100,
    Gamma180,
    Gamma180_16,
    Srgb,
    Srgb_16,
    KodakPhoto,
    KodakPhoto_16,
    KodakMix,
    KodakMix_16,
    KodakText,
    KodakText_16,
    Rgb8,
    Lab8,
    Lab16,
    Cmyk8,
    Cmyk16,
    Clr6_8,
    Clr6_16,
    Clr7_8,
    Clr7_16
};
inline constexpr int kForms = 20;

/// Output curves, seven channels.
struct ReferenceCurves {
    ReferenceCurves();
    /// The output curves of `lut`; missing ones keep their values.
    void Load(const LutContents& lut);
    /// Curves of three channels supplied by a caller, the same number of bytes for each.
    void Load(const Bytes& red, const Bytes& green, const Bytes& blue);
    /// A value between the entries, rounded to nearest.
    int Point(std::size_t channel, int v) const { return PointBetween(curve[channel], step, span, v); }
    /// The same, but for 65535 the end of the curve.
    int At(std::size_t channel, int v) const { return v == 65535 ? last[channel] : Point(channel, v); }
    /// The values of all seven curves.
    ReferenceNode Points(const ReferenceNode& at) const;

    int channels = 0;
    int entries = 0;
    double step = 0;
    double span = 0;
    std::array<std::vector<int>, 7> curve;
    std::array<int, 7> last{};
};

/// Output tables, seven channels.
struct ReferenceOutputs : ReferenceCurves {
    ReferenceOutputs() { Reset(); }
    void Reset();
    void Load(const LutContents& lut);
    void Load(const Bytes& red, const Bytes& green, const Bytes& blue);
    /// The result of the form; `space` is the argument of forms that take one.
    int Apply(Form form, int space);
    void Kodak(int low, int high, double a, double b, double c);
    void Run(int code, const Words& work, int pixels, Bytes& dest) const;

    int mode = 0;
    std::array<std::vector<int>, 7> table;

private:
    void Expand(std::size_t moving);
};

}  // namespace hueweave::test
