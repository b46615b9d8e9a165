// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <vector>

#include "colour/base/TransformOptions.h"
#include "colour/exact/ProfileStages.h"
#include "colour/exact/kernels/Program.h"

namespace hueweave::colour {

/// Everything that the loops need for a transform, in memory of its own.
class Tables {
public:
    /// The curves are evaluated here and not kept.
    Tables(const DeviceCurves& source, StageList stages, const DeviceCurves& target);
    Tables(const Tables&) = delete;
    Tables& operator=(const Tables&) = delete;

    const Program& program() const { return program_; }
    /// Sets the samples for black and white at each depth.
    void SetEnds(const Ends& bytes, const Ends& words, const FloatEnds& floats) {
        program_.byteEnds = bytes;
        program_.wordEnds = words;
        program_.floatEnds = floats;
    }

private:
    void AddStep(const Stage& stage);

    std::array<std::vector<float>, 3> bytes_, words_, encoding_;
    const StageList stages_;
    std::vector<Step> steps_;
    Program program_{};
};

}  // namespace hueweave::colour
