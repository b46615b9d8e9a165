// SPDX-License-Identifier: MIT
#include "colour/exact/Stages.h"

#include <algorithm>
#include <utility>

namespace hueweave::colour {

AffineStage AffineStage::Diagonal(const Vector3& scale, const Vector3& offset) {
    AffineStage stage;
    for (std::size_t i = 0; i < 3; ++i) stage.matrix[i][i] = scale[i];
    stage.offset = offset;
    return stage;
}

Vector3 AffineStage::Apply(const Vector3& x) const {
    Vector3 y = offset;
    for (std::size_t i = 0; i < 3; ++i) y[i] += matrix[i][0] * x[0] + matrix[i][1] * x[1] + matrix[i][2] * x[2];
    return y;
}

AffineStage AffineStage::After(const AffineStage& first) const {
    AffineStage both;
    both.offset = Apply(first.offset);
    for (std::size_t i = 0; i < 3; ++i) {
        for (std::size_t j = 0; j < 3; ++j) {
            both.matrix[i][j] = 0;
            for (std::size_t k = 0; k < 3; ++k) both.matrix[i][j] += matrix[i][k] * first.matrix[k][j];
        }
    }
    return both;
}

bool AffineStage::IsIdentity() const {
    const AffineStage identity;
    return matrix == identity.matrix && offset == identity.offset;
}

void StageList::Add(Stage stage) {
    if (const auto* affine = std::get_if<AffineStage>(&stage)) {
        if (affine->IsIdentity()) return;
        Stage* const last = stages_.empty() ? nullptr : &stages_.back();
        if (auto* const before = last != nullptr ? std::get_if<AffineStage>(last) : nullptr) {
            *before = affine->After(*before);
            return;
        }
        if (auto* const grid = last != nullptr ? std::get_if<GridStage>(last) : nullptr) {
            for (std::size_t n = 0; n < grid->nodes.size(); n += 4) {
                float* const node = &grid->nodes[n];
                const Vector3 moved = affine->Apply({node[0], node[1], node[2]});
                for (std::size_t c = 0; c < 3; ++c) node[c] = static_cast<float>(moved[c]);
            }
            return;
        }
    }
    stages_.push_back(std::move(stage));
}

void StageList::Add(const StageList& other) {
    for (const Stage& stage : other.stages_) Add(stage);
}

bool StageList::HasGrid() const {
    return std::any_of(stages_.begin(), stages_.end(),
                       [](const Stage& stage) { return std::holds_alternative<GridStage>(stage); });
}

}  // namespace hueweave::colour
