// SPDX-License-Identifier: MIT
#pragma once

namespace ICC40::ICC_UNIT {

// Tetrahedral interpolation. A cell, the cube between eight neighbouring nodes, is split into six tetrahedra around
// its main diagonal. Inside one of them a value is linear in the three fractions:
//
//     C000 + Dx * fx + Dy * fy + Dz * fz
//
// where each D is the difference of two corners. The path from C000 to C111 along the axes in order of decreasing
// fractions passes the four corners of the tetrahedron; D is the change of the value along its axis. The sum of the
// three differences is therefore C111 - C000.

/// A corner of a cell as three bits: 4 is one step along the first axis, 2 along the second, 1 along the third.
struct Edge {
    int to, from;
};
struct Tetrahedron {
    Edge x, y, z;
};

/// By number; the paths lead from C000 to C111.
inline constexpr Tetrahedron kTetrahedra[6] = {
    {{4, 0}, {6, 4}, {7, 6}},  // 0: C100, C110
    {{4, 0}, {7, 5}, {5, 4}},  // 1: C100, C101
    {{5, 1}, {7, 5}, {1, 0}},  // 2: C001, C101
    {{6, 2}, {2, 0}, {7, 6}},  // 3: C010, C110
    {{7, 3}, {2, 0}, {3, 2}},  // 4: C010, C011
    {{7, 3}, {3, 1}, {1, 0}},  // 5: C001, C011
};

constexpr int StepX(int corner) { return corner >> 2; }
constexpr int StepY(int corner) { return corner >> 1 & 1; }
constexpr int StepZ(int corner) { return corner & 1; }

/// The number of the tetrahedron that contains three fractions. Equal fractions select the later branch; since the
/// tetrahedra meet there, both give the same value.
template <typename Fraction>
constexpr int FindTetrahedron(Fraction fx, Fraction fy, Fraction fz) {
    if (fx > fy) {
        if (fx > fz) return fy > fz ? 0 : 1;
        return 2;
    }
    if (fy > fz) return fx > fz ? 3 : 4;
    return 5;
}

}  // namespace ICC40::ICC_UNIT
