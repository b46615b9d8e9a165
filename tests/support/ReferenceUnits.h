// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#pragma once

#include <array>
#include <cstddef>
#include <vector>

#include "support/ByteWriter.h"

// The units of the pipeline told again, each as a plain record with plain loops: input curves, grid, output curves.
// They share no line with the library. Working buffers are 16-bit samples, pixel after pixel.
namespace hueweave::test {

using Words = std::vector<unsigned short>;

/// A count or place, of which none is negative.
inline std::size_t AsIndex(int value) { return static_cast<std::size_t>(value); }

/// A table as the units take it, all values 0 to 65535; curves one after the other, nodes with the third axis fastest.
struct PlainLut {
    int inputs = 0;
    int outputs = 0;
    int points = 0;
    int inputEntries = 0;
    int outputEntries = 0;
    std::vector<int> input;
    std::vector<int> grid;
    std::vector<int> output;
};

/// The seven channels of one node.
using PlainNode = std::array<int, 7>;

/// Channels of a format code and the width of its samples in bytes; channels 0 for a value that is no code.
struct CodeLayout {
    int channels, sourceBytes, destBytes;
};
CodeLayout LayoutOf(int code);

/// Input curves. `outputs` is the second digit of the unit's name, 3, 4, 6 or 7, and so the samples a pixel.
struct ReferenceInput {
    explicit ReferenceInput(int outputs) : stride(outputs) {}
    /// Curves of `lut` expanded for 16-bit samples, then rearranged for the encoding `space`.
    void Load(const PlainLut& lut, int space);
    void ToLut8();
    void ToLab8();
    void ToLab16();
    /// 0, or 65535 for a code of another channel count; then nothing is written.
    int Run(int code, const Bytes& source, int pixels, Words& work) const;

    int stride;
    int bits = 16;
    double step = 0;
    std::array<std::vector<int>, 3> curve{std::vector<int>(4096), std::vector<int>(4096), std::vector<int>(4096)};
    std::array<std::vector<int>, 3> table{std::vector<int>(65536), std::vector<int>(65536), std::vector<int>(65536)};
};

/// One point of an input curve, rounded to nearest.
int ReferenceCurvePoint(const std::vector<int>& curve, double step, int sample);

/// A grid of any size with seven values a node, third axis fastest.
struct ReferenceGrid {
    /// Nodes of `lut`; sizes other than 9, 17 and 33 are resampled to 17.
    void Load(const PlainLut& lut);
    void Resize(int size);
    /// The size with its shift and mask; neither step nor positions.
    void SetSize(int size);
    const PlainNode& Node(int i, int j, int k) const;

    /// Interpolation with whole fractions, for 9, 17 or 33 points: low 16 bits of all seven channels.
    std::array<unsigned short, 7> Whole(int x, int y, int z) const;
    /// Interpolation with broken fractions, for any size.
    PlainNode Broken(int x, int y, int z) const;
    /// A working buffer of `channels` samples a pixel.
    void Run(int channels, int pixels, Words& work) const;

    int points = 0;
    int shift = 11;
    int mask = 2047;
    double step = 0;
    std::vector<int> positions;
    std::vector<PlainNode> nodes;
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

/// Output tables, seven channels.
struct ReferenceOutputs {
    ReferenceOutputs() { Reset(); }
    void Reset();
    /// The output curves of `lut`.
    void Load(const PlainLut& lut);
    /// Curves of a caller's, the same number of bytes for each.
    void Load(const Bytes& red, const Bytes& green, const Bytes& blue);
    /// The result of the form; `space` is the argument of those that take one.
    int Apply(Form form, int space);
    void Kodak(int low, int high, double a, double b, double c);
    /// The curves' values at seven places.
    PlainNode Points(const PlainNode& at) const;
    void Run(int code, const Words& work, int pixels, Bytes& dest) const;

    int mode = 0;
    int channels = 0;
    int entries = 0;
    double step = 0;
    double span = 0;
    std::array<std::vector<int>, 7> curve;
    std::array<std::vector<int>, 7> table;

private:
    void ShiftDown(std::size_t tables);
    int ApplyTone(Form form, int space);
    int ApplyInks(std::size_t shifted, int newMode, int result);
    void Expand(std::size_t moving);
};

}  // namespace hueweave::test
