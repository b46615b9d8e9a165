// SPDX-License-Identifier: MIT
// The stages from which a transform is composed, as data. Values of all stages are nominally 0 to 1.
#pragma once

#include <array>
#include <cstdint>
#include <variant>
#include <vector>

namespace hueweave::colour {

using Vector3 = std::array<double, 3>;

/// A curve per channel: equidistant values over the inputs 0 to 1, linear in between. Inputs beyond are clamped.
struct CurveStage {
    std::array<std::vector<float>, 3> values;  ///< at least two each, or none for a straight line
};

/// `matrix` * x + `offset`, rows first.
struct AffineStage {
    std::array<Vector3, 3> matrix{{{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}};
    Vector3 offset{};

    static AffineStage Diagonal(const Vector3& scale, const Vector3& offset = {});
    Vector3 Apply(const Vector3& x) const;
    /// This stage after `first`.
    AffineStage After(const AffineStage& first) const;
    bool IsIdentity() const;
};

/// A CLUT of three inputs and outputs. The last input varies fastest.
struct GridStage {
    std::array<unsigned, 3> points{};  ///< at least two each
    std::vector<float> nodes;          ///< four values per node, of which the last is unused
    bool trilinear = false;            ///< not tetrahedral
};

/// From the cube roots of CIELAB less 16/116 (0 for black) to XYZ relative to the white: the inverse of `RootStage`.
struct CubeStage {};
/// From XYZ relative to the white to the cube roots of CIELAB less 16/116.
struct RootStage {};

/// Between the cube roots of CIELAB: offsets of L* and C*, after which both are clamped to 0 to 100, and a hue angle in
/// degrees; see `TransformOptions`.
struct AdjustStage {
    double lightness, chroma, hue;
};

/// Clamps to 0 to 1 and rounds to a multiple of 1/65535, as Little CMS does after 16-bit tables.
struct RoundStage {};

using Stage = std::variant<CurveStage, AffineStage, GridStage, CubeStage, RootStage, AdjustStage, RoundStage>;

/// Stages in the order in which they are applied.
class StageList {
public:
    /// An affine stage is merged into an affine stage or a grid before it; an identity is left out.
    void Add(Stage stage);
    void Add(const StageList& other);
    const std::vector<Stage>& stages() const { return stages_; }
    bool HasGrid() const;

private:
    std::vector<Stage> stages_;
};

}  // namespace hueweave::colour
