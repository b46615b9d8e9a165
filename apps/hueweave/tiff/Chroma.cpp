// SPDX-License-Identifier: MIT
#include "tiff/Chroma.h"

#include <algorithm>
#include <cmath>
#include <vector>

namespace hueweave::tool {
namespace {

/// The numbers of an entry, whole or rational; none for another type.
std::vector<double> RealNumbers(const TiffStructure& structure, const TiffEntry& entry) {
    std::vector<double> numbers;
    if (IsWhole(entry.type)) {
        for (const std::uint64_t number : structure.Numbers(entry)) numbers.push_back(static_cast<double>(number));
    } else if (entry.type == type::Rational) {
        const Bytes data = structure.Data(entry);
        for (std::size_t at = 0; at + 8 <= data.size(); at += 8) {
            const auto part = [&](std::size_t from) {
                return static_cast<double>(structure.form().Get(&data[from], 4));
            };
            numbers.push_back(part(at) / part(at + 4));
        }
    }
    return numbers;
}

/// Replaces the defaults by the numbers of a tag. Returns whether there is no such tag, or it has as many finite
/// numbers.
template <std::size_t kCount>
bool ReadInto(const TiffStructure& structure, const TiffDirectory& directory, std::uint16_t which,
              std::array<double, kCount>& to) {
    const TiffEntry* entry = directory.Find(which);
    if (entry == nullptr) return true;
    if (entry->count != kCount) return false;
    const std::vector<double> numbers = RealNumbers(structure, *entry);
    if (numbers.size() != kCount) return false;
    std::copy(numbers.begin(), numbers.end(), to.begin());
    return std::all_of(numbers.begin(), numbers.end(), [](double number) { return std::isfinite(number); });
}

bool IsFactor(double factor) { return factor == 1 || factor == 2 || factor == 4; }

}  // namespace

std::string ReadChroma(const TiffStructure& structure, const TiffDirectory& directory, Chroma& chroma) {
    std::array<double, 2> factors{2, 2};  // if the file does not state them
    if (!ReadInto(structure, directory, tag::YCbCrSubSampling, factors) || !IsFactor(factors[0]) ||
        !IsFactor(factors[1])) {
        return "has an unknown chroma subsampling";
    }
    chroma.across = static_cast<unsigned>(factors[0]);
    chroma.down = static_cast<unsigned>(factors[1]);
    // Red and blue are made from Y and the differences; green is what remains, divided by its weight.
    if (!ReadInto(structure, directory, tag::YCbCrCoefficients, chroma.weights) || chroma.weights[1] == 0) {
        return "has unusable coefficients of YCbCr";
    }
    if (!ReadInto(structure, directory, tag::ReferenceBlackWhite, chroma.range)) {
        return "has unusable samples of black and white";
    }
    for (std::size_t c = 0; c < 6; c += 2) {
        if (chroma.range[c] == chroma.range[c + 1]) return "has the same samples for black and white";
    }
    return {};
}

}  // namespace hueweave::tool
