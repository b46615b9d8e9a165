// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#include "support/ReferenceUnits.h"

#include <cstddef>
#include <cstring>
#include <utility>

namespace hueweave::test {

namespace {

unsigned short LowWord(long long value) { return static_cast<unsigned short>(value & 0xffff); }

int ShiftFor(int size) { return size == 17 ? 12 : size == 9 ? 13 : 11; }

/// Corners of a cell whose differences count on the three axes; a corner is its three steps.
using Steps = std::array<int, 3>;
struct Tetrahedron {
    Steps xTo, xFrom, yTo, yFrom, zTo, zFrom;
};

constexpr Steps C000{0, 0, 0}, C001{0, 0, 1}, C010{0, 1, 0}, C011{0, 1, 1}, C100{1, 0, 0}, C101{1, 0, 1}, C110{1, 1, 0},
    C111{1, 1, 1};

template <typename Fraction>
Tetrahedron Choose(Fraction fx, Fraction fy, Fraction fz) {
    if (fx <= fy && fy <= fz) return {C111, C011, C011, C001, C001, C000};
    if (fx <= fz && fz < fy) return {C111, C011, C010, C000, C011, C010};
    if (fz < fx && fx <= fy) return {C110, C010, C010, C000, C111, C110};
    if (fy < fx && fx <= fz) return {C101, C001, C111, C101, C001, C000};
    if (fy <= fz && fz < fx) return {C100, C000, C111, C101, C101, C100};
    return {C100, C000, C110, C100, C111, C110};  // fz < fy < fx
}

}  // namespace

CodeLayout LayoutOf(int code) {
    switch (code) {
        case 257:
            return {3, 1, 1};
        case 258:
            return {3, 1, 2};
        case 259:
            return {4, 1, 1};
        case 260:
            return {4, 1, 2};
        case 261:
            return {6, 1, 1};
        case 262:
            return {6, 1, 2};
        case 263:
            return {7, 1, 1};
        case 264:
            return {7, 1, 2};
        case 513:
            return {3, 2, 1};
        case 514:
            return {3, 2, 2};
        case 515:
            return {4, 2, 1};
        case 516:
            return {4, 2, 2};
        case 517:
            return {6, 2, 1};
        case 518:
            return {6, 2, 2};
        case 519:
            return {7, 2, 1};
        case 520:
            return {7, 2, 2};
        default:
            return {0, 0, 0};
    }
}

int ReferenceCurvePoint(const std::vector<int>& curve, double step, int sample) {
    const double x = sample;
    const int n = static_cast<int>(x / step);
    const double f = (x - n * step) / step;
    const double sum = curve[AsIndex(n + 1)] * f + (1.0 - f) * curve[AsIndex(n)] + 0.5;
    return LowWord(static_cast<int>(sum));
}

void ReferenceInput::Load(const PlainLut& lut, int space) {
    if (lut.inputEntries > 2) {
        step = 65535.0 / (lut.inputEntries - 1);
        std::size_t next = 0;
        for (std::size_t c = 0; c < AsIndex(lut.inputs); ++c) {
            for (std::size_t n = 0; n < AsIndex(lut.inputEntries); ++n) curve[c][n] = lut.input[next++];
        }
        for (std::size_t c = 0; c < 3; ++c) {
            for (int v = 0; v < 65535; ++v) table[c][AsIndex(v)] = ReferenceCurvePoint(curve[c], step, v);
            table[c][65535] = curve[c][AsIndex(lut.inputEntries - 1)];
        }
    } else {
        step = 16.003663003663004;
        for (std::size_t c = 0; c < AsIndex(lut.inputs); ++c) {
            for (int n = 0; n < 4096; ++n) curve[c][AsIndex(n)] = 16 * n;
            for (int n = 0; n < 65536; ++n) table[c][AsIndex(n)] = n;
        }
    }
    if (space == 1) return;
    if (space == 2) {
        ToLab8();
    } else if (space == 3) {
        ToLab16();
    } else {
        ToLut8();
    }
}

void ReferenceInput::ToLut8() {
    for (auto& row : table) {
        for (std::size_t i = 1; i <= 254; ++i) row[i] = row[i * 256];
        row[255] = row[65535];
    }
    bits = 8;
}

void ReferenceInput::ToLab8() {
    for (std::size_t i = 0; i <= 127; ++i) {
        table[0][i] = table[0][i * 256];
        table[1][i] = table[1][(i ^ 128) * 256] - 1;
        table[2][i] = table[2][(i ^ 128) * 256] - 1;
    }
    for (std::size_t i = 128; i <= 255; ++i) {
        table[0][i] = table[0][i * 256];
        table[1][i] = table[1][(i ^ 128) * 256] + 1;
        table[2][i] = table[2][(i ^ 128) * 256] + 1;
    }
    bits = 8;
}

void ReferenceInput::ToLab16() {
    for (std::size_t row = 1; row <= 2; ++row) {
        std::swap(table[row][0], table[row][32768]);
        for (std::size_t i = 1; i <= 32766; ++i) std::swap(table[row][i], table[row][i ^ 32768]);
    }
    bits = 16;
}

int ReferenceInput::Run(int code, const Bytes& source, int pixels, Words& work) const {
    const CodeLayout layout = LayoutOf(code);
    if (layout.channels != stride) return 65535;
    for (int p = 0; p < pixels; ++p) {
        for (int c = 0; c < stride; ++c) {
            unsigned short result = 0;
            if (c < 3) {
                const std::size_t at = AsIndex(3 * p + c);
                unsigned short sample = source[layout.sourceBytes == 1 ? at : 0];
                if (layout.sourceBytes == 2) std::memcpy(&sample, &source[2 * at], 2);
                result = LowWord(table[AsIndex(c)][sample]);
            }
            work[AsIndex(p * stride + c)] = result;
        }
    }
    return 0;
}

void ReferenceGrid::SetSize(int size) {
    points = size;
    shift = ShiftFor(size);
    mask = (1 << shift) - 1;
}

const PlainNode& ReferenceGrid::Node(int i, int j, int k) const {
    return nodes[AsIndex((i * points + j) * points + k)];
}

void ReferenceGrid::Load(const PlainLut& lut) {
    SetSize(lut.points);
    nodes.assign(AsIndex(points * points * points), PlainNode{});
    std::size_t next = 0;
    for (PlainNode& node : nodes) {
        for (std::size_t c = 0; c < AsIndex(lut.outputs); ++c) node[c] = lut.grid[next++];
    }
    step = 65536.0 / (points - 1);
    positions.resize(AsIndex(points));
    for (int n = 0; n < points; ++n) positions[AsIndex(n)] = static_cast<int>(n * step);
    if (points != 9 && points != 17 && points != 33) Resize(17);
}

void ReferenceGrid::Resize(int size) {
    if (size == points) return;
    const double newStep = 65536.0 / (size - 1);
    std::vector<int> places(AsIndex(size));
    for (int n = 0; n < size - 1; ++n) places[AsIndex(n)] = static_cast<int>(n * newStep);
    places[AsIndex(size - 1)] = 65535;
    std::vector<PlainNode> sampled;
    for (int i = 0; i < size; ++i) {
        for (int j = 0; j < size; ++j) {
            for (int k = 0; k < size; ++k)
                sampled.push_back(Broken(places[AsIndex(i)], places[AsIndex(j)], places[AsIndex(k)]));
        }
    }
    SetSize(size);
    nodes = sampled;
    step = newStep;
    positions = places;
}

std::array<unsigned short, 7> ReferenceGrid::Whole(int x, int y, int z) const {
    const int i = x >> shift, j = y >> shift, k = z >> shift;
    const int fx = x & mask, fy = y & mask, fz = z & mask;
    const Tetrahedron t = Choose(fx, fy, fz);
    std::array<unsigned short, 7> result{};
    for (std::size_t c = 0; c < 7; ++c) {
        const auto corner = [&](const Steps& s) -> long long { return Node(i + s[0], j + s[1], k + s[2])[c]; };
        long long sum = corner(C000) * (1 << shift);
        sum += (corner(t.xTo) - corner(t.xFrom)) * fx;
        sum += (corner(t.yTo) - corner(t.yFrom)) * fy;
        sum += (corner(t.zTo) - corner(t.zFrom)) * fz;
        result[c] = LowWord(sum >> shift);
    }
    return result;
}

PlainNode ReferenceGrid::Broken(int x, int y, int z) const {
    const double values[3] = {static_cast<double>(x), static_cast<double>(y), static_cast<double>(z)};
    int cell[3];
    double f[3];
    for (int axis = 0; axis < 3; ++axis) {
        cell[axis] = static_cast<int>(values[axis] / step);
        f[axis] = (values[axis] - positions[AsIndex(cell[axis])]) / step;
    }
    const Tetrahedron t = Choose(f[0], f[1], f[2]);
    PlainNode result{};
    for (std::size_t c = 0; c < 7; ++c) {
        const auto corner = [&](const Steps& s) { return Node(cell[0] + s[0], cell[1] + s[1], cell[2] + s[2])[c]; };
        const int dx = corner(t.xTo) - corner(t.xFrom);
        const int dy = corner(t.yTo) - corner(t.yFrom);
        const int dz = corner(t.zTo) - corner(t.zFrom);
        const double sum = dx * f[0] + dy * f[1] + dz * f[2];
        result[c] = static_cast<int>(sum) + corner(C000);
    }
    return result;
}

void ReferenceGrid::Run(int channels, int pixels, Words& work) const {
    for (int p = 0; p < pixels; ++p) {
        unsigned short* pixel = &work[AsIndex(p * channels)];
        const auto result = Whole(pixel[0], pixel[1], pixel[2]);
        for (int c = 0; c < channels; ++c) pixel[c] = result[AsIndex(c)];
    }
}

}  // namespace hueweave::test
