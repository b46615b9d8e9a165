// SPDX-License-Identifier: MIT
#include "colour/profile/Target.h"

#include <cmath>
#include <memory>
#include <vector>

#include "colour/profile/OutputProfile.h"

namespace hueweave::colour {
namespace {

constexpr std::size_t kLight = 65536;           ///< entries of a tone table, for linear light
constexpr std::size_t kDecodingEntries = 4096;  ///< of a curve in a profile

/// A user-defined curve in 16 bits, interpolated linearly between its samples.
std::vector<std::uint32_t> Spread(const std::array<unsigned char, 256>& curve) {
    std::vector<std::uint32_t> table(kLight);
    for (std::size_t n = 0; n < kLight; ++n) {
        const std::size_t cell = std::min<std::size_t>(n / 257, 254);
        const double part = static_cast<double>(n) / 257.0 - static_cast<double>(cell);
        const double value = curve[cell] + part * (curve[cell + 1] - curve[cell]);
        table[n] = static_cast<std::uint32_t>(std::lround(value * 257.0));
    }
    return table;
}

/// The engine's tone table of a space, and the greatest sample in it.
std::pair<std::vector<std::uint32_t>, std::uint32_t> EngineTone(const Space& space) {
    const auto& built = space.Built(16);
    const auto tone = std::make_unique<std::array<int, kLight>>();
    for (std::size_t n = 0; n < kLight; ++n) (*tone)[n] = static_cast<int>(n);
    built.tone(*reinterpret_cast<ICC40::ICC_UNIT::ToneTable*>(tone->data()));
    return {std::vector<std::uint32_t>(tone->begin(), tone->end()), built.bits == 8 ? 255U : 65535U};
}

}  // namespace

std::optional<Bytes> MakeTargetProfile(const Space& space, const std::optional<ToneCurves>& curves, int version) {
    std::vector<std::vector<double>> decoding;
    std::string title(space.title);
    if (curves) {
        for (const auto& curve : *curves) {
            const auto inverse = InvertTable(Spread(curve).data(), 65535, kDecodingEntries);
            if (!inverse) return std::nullopt;
            decoding.push_back(*inverse);
        }
        title += ", own curves";
    } else if (space.tone == Tone::Kodak) {
        const auto [table, top] = EngineTone(space);
        const auto inverse = InvertTable(table.data(), top, top == 255 ? 256 : kDecodingEntries);
        if (!inverse) return std::nullopt;
        decoding.assign(3, *inverse);
    }
    return MakeOutputProfile(space, Colorants::Computed, decoding, title, version);
}

}  // namespace hueweave::colour
