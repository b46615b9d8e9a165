// SPDX-License-Identifier: MIT
#include "colour/exact/Tables.h"

#include <bit>
#include <cmath>
#include <numbers>
#include <utility>

namespace hueweave::colour {
namespace {

float Evaluate(const cmsToneCurve* curve, double x) {
    const float value = curve != nullptr ? cmsEvalToneCurveFloat(curve, static_cast<float>(x)) : static_cast<float>(x);
    return std::isfinite(value) ? value : 0.0F;
}

std::vector<float> WordTable(const cmsToneCurve* curve) {
    std::vector<float> table(65536);
    for (std::size_t v = 0; v < table.size(); ++v) table[v] = Evaluate(curve, static_cast<double>(v) / 65535.0);
    return table;
}

std::vector<float> EncodingTable(const cmsToneCurve* curve) {
    constexpr std::uint32_t kFirst = (127U - kOctaves) << 23;
    constexpr double kOffset = 1.0 / static_cast<double>(1U << kOctaves);
    std::vector<float> table;
    table.reserve(kEncodingEntries + 1);
    for (std::uint32_t n = 0; n < kEncodingEntries; ++n) {
        const auto x = std::bit_cast<float>(kFirst + (n << (23 - kStepBits)));
        const float value = Evaluate(curve, x - kOffset);
        table.push_back(value > 0.0F ? std::min(value, 1.0F) : 0.0F);
    }
    table.back() = std::min(1.0F, std::max(0.0F, Evaluate(curve, 1.0)));
    table.push_back(table.back());
    return table;
}

void SetAffine(const AffineStage& stage, Step& step) {
    step.kind = Step::Kind::Affine;
    for (std::size_t i = 0; i < 3; ++i) {
        for (std::size_t j = 0; j < 3; ++j) step.rows[i][j] = static_cast<float>(stage.matrix[i][j]);
        step.rows[i][3] = static_cast<float>(stage.offset[i]);
    }
}

void SetCurves(const CurveStage& stage, Step& step) {
    step.kind = Step::Kind::Curves;
    for (std::size_t c = 0; c < 3; ++c) {
        if (stage.values[c].empty()) continue;
        step.tables[c] = stage.values[c].data();
        step.last[c] = static_cast<float>(stage.values[c].size() - 1);
    }
}

void SetGrid(const GridStage& stage, Step& step) {
    step.kind = stage.trilinear ? Step::Kind::Trilinear : Step::Kind::Tetrahedra;
    step.nodes = stage.nodes.data();
    for (std::size_t axis = 0; axis < 3; ++axis) step.last[axis] = static_cast<float>(stage.points[axis] - 1);
    step.stride[2] = 1;
    step.stride[1] = static_cast<std::int32_t>(stage.points[2]);
    step.stride[0] = static_cast<std::int32_t>(stage.points[1] * stage.points[2]);
}

void SetAdjust(const AdjustStage& stage, Step& step) {
    step.kind = Step::Kind::Adjust;
    step.lightness = static_cast<float>(stage.lightness);
    step.chroma = static_cast<float>(stage.chroma);
    step.chromaShare = static_cast<float>(1.0 / TransformOptions::kFullChroma);
    step.cosine = static_cast<float>(std::cos(stage.hue * std::numbers::pi / 180.0));
    step.sine = static_cast<float>(std::sin(stage.hue * std::numbers::pi / 180.0));
}

}  // namespace

Tables::Tables(const DeviceCurves& source, StageList stages, const DeviceCurves& target) : stages_(std::move(stages)) {
    for (std::size_t c = 0; c < 3; ++c) {
        words_[c] = WordTable(source[c]);
        bytes_[c].resize(256);
        for (std::size_t v = 0; v < 256; ++v) bytes_[c][v] = words_[c][257 * v];
        program_.words[c] = words_[c].data();
        program_.bytes[c] = bytes_[c].data();
    }
    for (std::size_t c = 0; c < 3 && target[0] != nullptr; ++c) {
        encoding_[c] = EncodingTable(target[c]);
        // Nearly all profiles have one curve for all channels, whose table then stays in the first cache.
        if (c > 0 && encoding_[c] == encoding_[0]) encoding_[c].clear();
        program_.encoding[c] = (encoding_[c].empty() ? encoding_[0] : encoding_[c]).data();
    }
    for (const Stage& stage : stages_.stages()) AddStep(stage);
    program_.steps = steps_;
}

void Tables::AddStep(const Stage& stage) {
    Step step{};
    if (const auto* affine = std::get_if<AffineStage>(&stage)) SetAffine(*affine, step);
    if (const auto* curves = std::get_if<CurveStage>(&stage)) SetCurves(*curves, step);
    if (const auto* grid = std::get_if<GridStage>(&stage)) SetGrid(*grid, step);
    if (const auto* adjust = std::get_if<AdjustStage>(&stage)) SetAdjust(*adjust, step);
    if (std::holds_alternative<CubeStage>(stage)) step.kind = Step::Kind::Cube;
    if (std::holds_alternative<RootStage>(stage)) step.kind = Step::Kind::Root;
    if (std::holds_alternative<RoundStage>(stage)) step.kind = Step::Kind::Round;
    steps_.push_back(step);
}

}  // namespace hueweave::colour
