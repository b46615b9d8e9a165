// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#include "support/ReferencePipeline.h"

#include <cmath>
#include <cstddef>

namespace hueweave::test {
namespace {

std::size_t Index(int value) { return static_cast<std::size_t>(value); }
int Cut(double value) { return static_cast<int>(value); }

// ---- input curves

/// The curve of one channel at every 16-bit sample, rounded to nearest.
std::vector<int> ExpandInput(const ReferenceLut& lut, int channel) {
    std::vector<int> table(65536, 0);
    const bool present = channel < lut.inputs;
    if (lut.inputEntries <= 2) {
        // Two entries or fewer count as the identity whatever they hold.
        for (int v = 0; v < 65536 && present; ++v) table[Index(v)] = v;
        return table;
    }
    if (!present) return table;
    const int* curve = lut.input.data() + channel * lut.inputEntries;
    const double step = 65535.0 / (lut.inputEntries - 1);
    for (int v = 0; v < 65535; ++v) {
        const double x = v;
        const int n = Cut(x / step);
        const double f = (x - n * step) / step;
        table[Index(v)] = Cut(curve[n + 1] * f + (1.0 - f) * curve[n] + 0.5) & 0xffff;
    }
    table[65535] = curve[lut.inputEntries - 1];
    return table;
}

void ToLut8(std::vector<int>& table) {
    for (int i = 1; i <= 254; ++i) table[Index(i)] = table[Index(i * 256)];
    table[255] = table[65535];
}

void ToLab8(std::vector<int>& table, bool lightness) {
    for (int i = 0; i <= 255; ++i) {
        if (lightness) {
            table[Index(i)] = table[Index(i * 256)];
        } else {
            table[Index(i)] = table[Index((i ^ 128) * 256)] + (i < 128 ? -1 : 1);
        }
    }
}

void ToLab16(std::vector<int>& table) {
    std::swap(table[0], table[32768]);
    for (int i = 1; i <= 32766; ++i) std::swap(table[Index(i)], table[Index(i ^ 32768)]);
}

// ---- colour arithmetic

struct Colour {
    double L = 0, C = 0, h = 0, a = 0, b = 0, R = 0, G = 0, B = 0;
    double Xw = 63195.0 / 65535.0, Yw = 65535.0 / 65535.0, Zw = 54073.0 / 65535.0;
};

void PutLab(Colour& c, double L, double a, double b) {
    c.L = L;
    c.a = a;
    c.b = b;
    c.C = std::sqrt(a * a + b * b);
    c.h = std::atan2(b, a) * 57.2958;
    if (c.h < 0) c.h += 360.0;
}

void Adjust(Colour& c, double dL, double dC, double dh) {
    c.L += dL;
    if (c.L > 100.0) c.L = 100.0;
    if (c.L < 0.0) c.L = 0.0;
    c.C += dC;
    if (c.C > 100.0) c.C = 100.0;
    if (c.C < 0.0) c.C = 0.0;
    c.h += dh;
    if (c.h > 360.0) c.h -= 360.0;
    if (c.h < 0.0) c.h += 360.0;
    const double r = 0.0174533 * c.h;
    c.a = std::cos(r) * c.C;
    c.b = std::sin(r) * c.C;
}

double Limited(double value) {
    if (value > 255.0) value = 255.0;
    if (value < 0.0) value = 0.0;
    return value;
}

void ToRgb(Colour& c, const double (&m)[9]) {
    double X, Y, Z, fy;
    if (c.L > 7.9996) {
        fy = (c.L + 16.0) / 116.0;
        Y = std::pow(fy, 3.0);
    } else {
        Y = c.L / 903.3;
        fy = Y * 7.787 + 0.137931;
    }
    const double fx = c.a / 500.0 + fy;
    if (fx > 0.2069) {
        X = std::pow(fx, 3.0);
    } else {
        X = (fx - 0.137931) / 7.787;
    }
    const double fz = c.b / -200.0 + fy;
    if (fz > 0.2069) {
        Z = std::pow(fz, 3.0);
    } else {
        Z = (fz - 0.137931) / 7.787;
    }
    X *= c.Xw;
    Y *= c.Yw;
    Z *= c.Zw;
    c.R = Limited((m[0] * X + m[1] * Y + m[2] * Z) * 255.0);
    c.G = Limited((m[3] * X + m[4] * Y + m[5] * Z) * 255.0);
    c.B = Limited((m[6] * X + m[7] * Y + m[8] * Z) * 255.0);
}

constexpr double kSRgb[9] = {3.1341, -1.6174, -0.4907, -0.9788, 1.9163, 0.0334, 0.072, -0.229, 1.4054};
constexpr double kAdobe[9] = {1.9625, -0.6107, -0.3414, -0.9788, 1.9163, 0.0334, 0.0287, -0.1407, 1.3489};
constexpr double kApple[9] = {2.8513, -1.361, -0.4709, -1.0928, 2.035, 0.0227, 0.1027, -0.2965, 1.4512};
constexpr double kColorMatch[9] = {2.6416, -1.2231, -0.3929, -1.1121, 2.0592, 0.016, 0.0822, -0.2808, 1.4562};

const double (&Primaries(int space))[9] {
    if (space >= 20 && space <= 23) return kAdobe;
    if (space >= 24 && space <= 27) return kApple;
    if (space >= 28 && space <= 31) return kColorMatch;
    return kSRgb;
}

// ---- grid

struct Grid {
    int size = 0;
    double step = 0;
    std::vector<int> position;
    std::vector<ReferenceNode> nodes;  ///< first axis slowest

    const ReferenceNode& At(int i, int j, int k) const { return nodes.at(Index((i * size + j) * size + k)); }
};

Grid LoadGrid(const ReferenceLut& lut) {
    Grid grid;
    grid.size = lut.points;
    grid.step = 65536.0 / (grid.size - 1);
    for (int n = 0; n < grid.size; ++n) grid.position.push_back(Cut(n * grid.step));
    std::size_t at = 0;
    for (int n = 0; n < grid.size * grid.size * grid.size; ++n) {
        ReferenceNode node{};
        for (int c = 0; c < lut.outputs; ++c) node[Index(c)] = lut.grid.at(at++);
        grid.nodes.push_back(node);
    }
    return grid;
}

ReferenceNode Interpolate(const Grid& grid, int x, int y, int z) {
    const int i = Cut(x / grid.step);
    const int j = Cut(y / grid.step);
    const int k = Cut(z / grid.step);
    const double fx = (x - grid.position.at(Index(i))) / grid.step;
    const double fy = (y - grid.position.at(Index(j))) / grid.step;
    const double fz = (z - grid.position.at(Index(k))) / grid.step;
    ReferenceNode result{};
    for (std::size_t c = 0; c < 7; ++c) {
        const int c000 = grid.At(i, j, k)[c], c001 = grid.At(i, j, k + 1)[c];
        const int c010 = grid.At(i, j + 1, k)[c], c011 = grid.At(i, j + 1, k + 1)[c];
        const int c100 = grid.At(i + 1, j, k)[c], c101 = grid.At(i + 1, j, k + 1)[c];
        const int c110 = grid.At(i + 1, j + 1, k)[c], c111 = grid.At(i + 1, j + 1, k + 1)[c];
        int dx, dy, dz;
        if (fx <= fy && fy <= fz) {
            dx = c111 - c011, dy = c011 - c001, dz = c001 - c000;
        } else if (fx <= fz && fz < fy) {
            dx = c111 - c011, dy = c010 - c000, dz = c011 - c010;
        } else if (fz < fx && fx <= fy) {
            dx = c110 - c010, dy = c010 - c000, dz = c111 - c110;
        } else if (fy < fx && fx <= fz) {
            dx = c101 - c001, dy = c111 - c101, dz = c001 - c000;
        } else if (fy <= fz && fz < fx) {
            dx = c100 - c000, dy = c111 - c101, dz = c101 - c100;
        } else {  // fz < fy < fx
            dx = c100 - c000, dy = c110 - c100, dz = c111 - c110;
        }
        result[c] = c000 + Cut(dx * fx + dy * fy + dz * fz);
    }
    return result;
}

Grid Resized(const Grid& grid, int size) {
    if (grid.size == size) return grid;
    Grid resized;
    resized.size = size;
    resized.step = 65536.0 / (size - 1);
    for (int n = 0; n < size; ++n) resized.position.push_back(n == size - 1 ? 65535 : Cut(n * resized.step));
    for (int i = 0; i < size; ++i) {
        for (int j = 0; j < size; ++j) {
            for (int k = 0; k < size; ++k) {
                resized.nodes.push_back(Interpolate(grid, resized.position[Index(i)], resized.position[Index(j)],
                                                    resized.position[Index(k)]));
            }
        }
    }
    return resized;
}

void AdjustGrid(Grid& grid, double dL, double dC, double dh) {
    Colour colour;
    for (ReferenceNode& node : grid.nodes) {
        PutLab(colour, (node[0] & 0xffff) * 100.0 / 65280.0, ((node[1] & 0xffff) - 32768) * 0.00390625,
               ((node[2] & 0xffff) - 32768) * 0.00390625);
        Adjust(colour, dL, dC, dh);
        node[0] = colour.L < 0 ? 0 : colour.L > 100 ? 65280 : Cut(colour.L * 65280.0 / 100.0) & 0xffff;
        node[1] = Cut(256.0 * colour.a + 32768.0) & 0xffff;
        node[2] = Cut(256.0 * colour.b + 32768.0) & 0xffff;
    }
}

/// One output curve of the table, with the way in which it is spread over 16-bit values.
struct OutputCurve {
    double step = 0;
    double span = 0;
    int last = 0;
    std::vector<int> curve;

    int At(int v) const {
        if (v == 65535) return last;
        const double x = v;
        const int i = Cut(x / step);
        const double f = (x - step * i) / span;
        return Cut(curve.at(Index(i + 1)) * f + (1 - f) * curve.at(Index(i)) + 0.5);
    }
};

OutputCurve LoadOutputCurve(const ReferenceLut& lut, int channel) {
    OutputCurve result;
    for (int i = 0; i < 4096; ++i) result.curve.push_back(i);
    const bool present = channel < lut.outputs;
    if (lut.outputEntries < 3) {
        // Kept: 15.0 divides a step of 16.
        result.step = 16.003663003663004;
        result.span = 15.0;
        result.last = 65535;
        for (int i = 0; i < 4096 && present; ++i) result.curve[Index(i)] = 16 * i;
        return result;
    }
    result.step = 65535.0 / (lut.outputEntries - 1);
    result.span = 65536.0 / lut.outputEntries;
    for (int i = 0; i < lut.outputEntries && present; ++i) {
        result.curve[Index(i)] = lut.output.at(Index(channel * lut.outputEntries + i));
    }
    result.last = result.curve[Index(lut.outputEntries - 1)];
    return result;
}

void GridToRgb(Grid& grid, const ReferenceLut& lut, int space, const std::optional<ReferenceWhite>& white) {
    Colour colour;
    if (white) {
        colour.Xw = static_cast<double>((*white)[0]) / 65535.0;
        colour.Yw = static_cast<double>((*white)[1]) / 65535.0;
        colour.Zw = static_cast<double>((*white)[2]) / 65535.0;
    }
    const OutputCurve curves[3] = {LoadOutputCurve(lut, 0), LoadOutputCurve(lut, 1), LoadOutputCurve(lut, 2)};
    for (ReferenceNode& node : grid.nodes) {
        const int t0 = curves[0].At(node[0]) & 0xffff;
        const int t1 = curves[1].At(node[1]) & 0xffff;
        const int t2 = curves[2].At(node[2]) & 0xffff;
        PutLab(colour, t0 * 100.0 / 65280.0, (t1 - 32768) * 0.00390625, (t2 - 32768) * 0.00390625);
        ToRgb(colour, Primaries(space));
        node[0] = Cut(colour.R) * 256;
        node[1] = Cut(colour.G) * 256;
        node[2] = Cut(colour.B) * 256;
    }
}

}  // namespace

ReferenceTables InputStage(const ReferenceLut& lut, int inputSpace) {
    ReferenceTables packed;
    for (int c = 0; c < 3; ++c) {
        std::vector<int> table = ExpandInput(lut, c);
        if (inputSpace == 2) ToLab8(table, c == 0);
        if (inputSpace == 3 && c != 0) ToLab16(table);
        if (inputSpace != 1) ToLut8(table);
        const std::size_t entries = inputSpace == 1 ? 65536 : 256;
        for (std::size_t n = 0; n < entries; ++n) {
            const auto v = static_cast<std::uint32_t>(table[n] & 0xffff);
            packed[Index(c)].push_back(v / 4096 * 65536 + v % 4096);
        }
    }
    return packed;
}

std::vector<ReferenceNode> GridStage(const ReferenceLut& lut, double lightness, double chroma, double hue,
                                     int outputSpace, const std::optional<ReferenceWhite>& white) {
    Grid grid = LoadGrid(lut);
    if (grid.size != 9 && grid.size != 17 && grid.size != 33) grid = Resized(grid, 17);
    if (lightness != 0.0 || chroma != 0.0 || hue != 0.0) AdjustGrid(grid, lightness, chroma, hue);
    grid = Resized(grid, 17);
    GridToRgb(grid, lut, outputSpace, white);
    return grid.nodes;
}

std::vector<ReferenceCell> CellStage(const std::vector<ReferenceNode>& nodes) {
    std::vector<ReferenceCell> cells;
    for (int n = 0; n < 4096; ++n) {
        const int i = n / 256, j = n / 16 % 16, k = n % 16;
        ReferenceCell cell{};
        for (std::size_t c = 0; c < 3; ++c) {
            const auto at = [&](int a, int b, int d) {
                return nodes.at(Index(((i + a) * 17 + j + b) * 17 + k + d))[c];
            };
            const int c000 = at(0, 0, 0), c001 = at(0, 0, 1), c010 = at(0, 1, 0), c011 = at(0, 1, 1);
            const int c100 = at(1, 0, 0), c101 = at(1, 0, 1), c110 = at(1, 1, 0), c111 = at(1, 1, 1);
            const int first = c000 * 4096;
            cell[0][c] = {first, c100 - c000, c110 - c100, c111 - c110};
            cell[1][c] = {first, c100 - c000, c111 - c101, c101 - c100};
            cell[2][c] = {first, c101 - c001, c111 - c101, c001 - c000};
            cell[3][c] = {first, c110 - c010, c010 - c000, c111 - c110};
            cell[4][c] = {first, c111 - c011, c010 - c000, c011 - c010};
            cell[5][c] = {first, c111 - c011, c011 - c001, c001 - c000};
        }
        cells.push_back(cell);
    }
    return cells;
}

ReferenceTables AdjustedOutputStage(const ReferenceLut& lut, const Bytes& red, const Bytes& green, const Bytes& blue,
                                    int count, bool to8) {
    const Bytes* const bytes[3] = {&red, &green, &blue};
    ReferenceTables tables;
    for (int c = 0; c < 3; ++c) {
        OutputCurve curve = LoadOutputCurve(lut, c);
        for (int i = 0; i < count; ++i) curve.curve[Index(i)] = bytes[c]->at(Index(i)) * 256;
        curve.step = 257.0;
        curve.span = 256.0;
        curve.last = 65535;
        for (int v = 0; v < 65536; ++v) {
            const int value = curve.At(v);
            tables[Index(c)].push_back(static_cast<std::uint32_t>(to8 ? value >> 8 : value));
        }
    }
    return tables;
}

}  // namespace hueweave::test
