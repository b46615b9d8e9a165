// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "colour/judge/Compare.h"

namespace hueweave::tool {

/// How the differences of compared colours are distributed.
class Distribution {
public:
    static constexpr std::size_t kBins = 36;   ///< six for each power of ten, from 0.0001 to 100
    static constexpr std::size_t kSteps = 20;  ///< of L*, five units each
    static constexpr std::size_t kWorst = 24;
    struct Step {
        std::size_t colours = 0;
        double sum = 0, largest = 0;
    };

    void Add(const colour::Comparison::Worst& colour);
    /// By bin; the first and the last one have everything below and above.
    const std::array<std::size_t, kBins>& bins() const { return bins_; }
    const std::array<Step, kSteps>& steps() const { return steps_; }
    /// The worst first.
    std::vector<colour::Comparison::Worst> Worst() const;
    /// The lower end of a bin in CIEDE2000.
    static double Edge(std::size_t bin);

private:
    std::array<std::size_t, kBins> bins_{};
    std::array<Step, kSteps> steps_{};
    std::vector<colour::Comparison::Worst> worst_;  ///< at most twice `kWorst`
};

}  // namespace hueweave::tool
