// SPDX-License-Identifier: MIT
#include "support/ReferenceProfile.h"

#include <algorithm>
#include <string>

namespace hueweave::test {
namespace {

Curve EntriesAt(const Bytes& block, std::size_t at, std::size_t count) {
    Curve words;
    for (std::size_t i = 0; i < count; ++i) words.push_back(static_cast<std::uint16_t>(Big16At(block, at + 2 * i)));
    return words;
}

int Int(std::size_t value) { return static_cast<int>(value); }

/// The table, if the units accept it.
std::optional<LutContents> Usable(const LutContents& lut) {
    const bool usable = lut.inputs <= 3 && lut.outputs <= 7 && lut.points >= 2 && lut.points <= 33 &&
                        lut.inputEntries <= 4096 && lut.outputEntries <= 4096;
    return usable ? std::optional(lut) : std::nullopt;
}

std::optional<LutContents> DecodeMft2(const Bytes& block) {
    const std::size_t inputs = ByteAt(block, 8);
    const std::size_t outputs = ByteAt(block, 9);
    const std::size_t points = ByteAt(block, 10);
    const std::size_t inputEntries = Big16At(block, 48);
    const std::size_t outputEntries = Big16At(block, 50);
    // The grid is a cube whatever the number of inputs.
    const std::size_t nodes = points * points * points;
    const std::size_t gridAt = 52 + 2 * inputs * inputEntries;
    const std::size_t outputAt = gridAt + 2 * nodes * outputs;
    if (outputAt + 2 * outputs * outputEntries > block.size()) return std::nullopt;
    return Usable({Int(inputs), Int(outputs), Int(points), Int(inputEntries), Int(outputEntries),
                   EntriesAt(block, 52, inputs * inputEntries), EntriesAt(block, gridAt, nodes * outputs),
                   EntriesAt(block, outputAt, outputs * outputEntries)});
}

/// `count` curves from `at` on, each 2n + 14 bytes after the one before; n is limited to the entries that fit in the
/// block.
std::vector<Curve> ReadCurves(const Bytes& block, std::size_t at, std::size_t count) {
    std::vector<Curve> curves;
    if (at == 0) return curves;
    for (std::size_t c = 0; c < count; ++c) {
        const std::size_t room = at < block.size() ? block.size() - at : 0;
        const std::size_t n = room < 12 ? 0 : std::min<std::size_t>(Big32At(block, at + 8), (room - 12) / 2);
        curves.push_back(EntriesAt(block, at + 12, n));
        at += 2 * n + 14;
    }
    return curves;
}

/// From each curve the number of entries of the first one; nothing if a curve has fewer.
std::optional<Curve> Join(const std::vector<Curve>& curves) {
    Curve joined;
    for (const auto& curve : curves) {
        if (curve.size() < curves[0].size()) return std::nullopt;
        joined.insert(joined.end(), curve.begin(), curve.begin() + static_cast<std::ptrdiff_t>(curves[0].size()));
    }
    return joined;
}

std::optional<LutContents> DecodeMftAb(const Bytes& block) {
    const std::size_t inputs = ByteAt(block, 8);
    const std::size_t outputs = ByteAt(block, 9);
    const std::size_t gridAt = Big32At(block, 24);
    // At most seven A and three B curves are stored, and the units accept at most three inputs.
    if (inputs < 1 || inputs > 3 || outputs < 1 || outputs > 3 || gridAt == 0) return std::nullopt;
    const auto a = ReadCurves(block, Big32At(block, 28), inputs);
    const auto b = ReadCurves(block, Big32At(block, 12), outputs);
    if (a.empty() || b.empty()) return std::nullopt;

    std::size_t held = outputs;
    for (std::size_t axis = 0; axis < inputs; ++axis) held *= ByteAt(block, gridAt + axis);
    const std::size_t precision = ByteAt(block, gridAt + 16);
    if (precision != 2 || gridAt + 20 + precision * held > block.size()) return std::nullopt;

    const std::size_t points = ByteAt(block, gridAt);
    std::size_t wanted = outputs;
    for (std::size_t axis = 0; axis < inputs; ++axis) wanted *= points;
    if (held < wanted) return std::nullopt;

    const auto input = Join(a);
    const auto output = Join(b);
    if (!input || !output) return std::nullopt;
    Curve grid = EntriesAt(block, gridAt + 20, wanted);
    // The grid unit expects a cube; nodes that a grid of fewer axes does not have are 0.
    grid.resize(std::max(wanted, points * points * points * outputs), 0);
    return Usable({Int(inputs), Int(outputs), Int(points), Int(a[0].size()), Int(b[0].size()), *input, grid, *output});
}

}  // namespace

std::optional<LutContents> DecodeLutTag(const Bytes& block) {
    const std::string type = SignatureText(Big32At(block, 0));
    if (type == "mft2") return DecodeMft2(block);
    if (type == "mAB ") return DecodeMftAb(block);
    return std::nullopt;
}

}  // namespace hueweave::test
