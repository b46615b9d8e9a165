// SPDX-License-Identifier: MIT
#include <cmath>
#include <cstddef>

#include "support/ReferencePipeline.h"
#include "support/ReferenceProfile.h"

namespace hueweave::test {
namespace {

constexpr int kNone = 65535;

double Finite(double value) { return std::isfinite(value) ? value : 0.0; }

/// One pixel through the stages, one after the other.
std::array<std::uint32_t, 3> ConvertPixel(const ReferenceEngine& engine, const std::array<std::size_t, 3>& sample) {
    std::size_t cell = 0;
    std::array<std::int64_t, 3> fraction{};
    for (std::size_t axis = 0; axis < 3; ++axis) {
        const std::uint32_t packed = engine.in[axis].at(sample[axis]);
        cell = cell * 16 + packed / 65536;
        fraction[axis] = packed % 65536;
    }
    const auto [r, g, b] = fraction;
    const std::size_t record = TetrahedronOf(static_cast<double>(r), static_cast<double>(g), static_cast<double>(b));
    std::array<std::uint32_t, 3> result{};
    for (std::size_t c = 0; c < 3; ++c) {
        const auto& k = engine.cells.at(cell)[record][c];
        const std::int64_t sum = k[0] + r * k[1] + g * k[2] + b * k[3];
        result[c] = engine.out[c].at(static_cast<std::size_t>(sum / 4096));
    }
    return result;
}

}  // namespace

std::optional<ReferenceWhite> ReferenceEngine::White() const {
    const Bytes* block = intent == 3 ? FindTag(tags_, "wtpt") : nullptr;
    if (block == nullptr || block->size() < 20) return std::nullopt;
    ReferenceWhite white{};
    for (std::size_t i = 0; i < 3; ++i) white[i] = Big32At(*block, 8 + 4 * i);
    return white;
}

int ReferenceEngine::Refuse() {
    outputSpace = kNone;
    buildResult = kNone;
    return kNone;
}

int ReferenceEngine::Rebuild(const std::function<void(const LutContents& lut)>& build) {
    const Bytes* block = SelectTable(tags_, intent);
    if (block == nullptr) return kNone;
    const auto lut = DecodeLutTag(*block);
    if (!lut) return Refuse();
    build(*lut);
    return outputSpace;
}

void ReferenceEngine::BuildGrid(const LutContents& lut, double dL, double dC, double dh) {
    cells = CellStage(GridStage(lut, dL, dC, dh, outputSpace, White()));
}

int ReferenceEngine::BuildAll(double dL, double dC, double dh) {
    return Rebuild([&](const LutContents& lut) {
        in = InputStage(lut, inputSpace);
        BuildGrid(lut, dL, dC, dh);
        const ReferenceOutput output = OutputStage(outputSpace);
        out = output.tables;
        buildResult = output.result;
        if (output.result == kNone) outputSpace = kNone;
    });
}

int ReferenceEngine::SetProfile(const std::string& path, int newIntent, int input, int output, double dL, double dC,
                                double dh) {
    const bool changed = !hasPath_ || path_ != path;
    path_ = path;
    hasPath_ = true;
    if (!changed && outputSpace != kNone && intent == newIntent && inputSpace == input && outputSpace == output) {
        return 0;
    }
    lightness = chroma = hue = 0;
    in = {};
    tags_.clear();
    inputSpace = input;
    outputSpace = output;
    intent = newIntent;
    profileState = 0;
    if (input != 0 && input != 1) {
        Refuse();
        return 65530;
    }
    const auto file = disk_.find(path);
    if (file == disk_.end()) {
        Refuse();
        return 65531;
    }
    tags_ = file->second;
    buildResult = BuildAll(Finite(dL), Finite(dC), Finite(dh));
    return 0;
}

int ReferenceEngine::SetIntent(int newIntent, int input, int output) {
    if (inputSpace == input && intent == newIntent && outputSpace == output) return output;
    inputSpace = input;
    outputSpace = output;
    intent = newIntent;
    return BuildAll(lightness, chroma, hue);
}

int ReferenceEngine::ConstructEngine(double dL, double dC, double dh) {
    return profileState == kNone ? kNone : BuildAll(Finite(dL), Finite(dC), Finite(dh));
}

int ReferenceEngine::AdjustLch(double dL, double dC, double dh) {
    dL = Finite(dL);
    dC = Finite(dC);
    dh = Finite(dh);
    const std::array whole{static_cast<int>(dL), static_cast<int>(dC), static_cast<int>(dh)};
    if (whole == std::array{lightness, chroma, hue}) return outputSpace;
    lightness = whole[0];
    chroma = whole[1];
    hue = whole[2];
    return Rebuild([&](const LutContents& lut) { BuildGrid(lut, dL, dC, dh); });
}

int ReferenceEngine::AdjustOutput(const Bytes& red, const Bytes& green, const Bytes& blue, int count) {
    if (count == 0 || red.empty() || green.empty() || blue.empty()) return outputSpace;
    return Rebuild([&](const LutContents& lut) {
        out = AdjustedOutputStage(lut, red, green, blue, count, inputSpace == 0);
        if (inputSpace == 0) buildResult = outputSpace;
    });
}

bool ReferenceEngine::CanConvert() const { return inputSpace == 1 ? in[0].size() == 65536 : !in[0].empty(); }

Bytes ReferenceEngine::Convert(const Bytes& pixels) const {
    const std::size_t width = inputSpace == 1 ? 2 : 1;
    Bytes result = pixels;
    for (std::size_t at = 0; at + 3 * width <= pixels.size(); at += 3 * width) {
        std::array<std::size_t, 3> sample{};
        for (std::size_t i = 0; i < 3 * width; ++i) sample[i / width] |= std::size_t{pixels[at + i]} << 8 * (i % width);
        const auto converted = ConvertPixel(*this, sample);
        for (std::size_t i = 0; i < 3 * width; ++i) {
            result[at + i] = static_cast<unsigned char>(converted[i / width] >> 8 * (i % width) & 0xffU);
        }
    }
    return result;
}

}  // namespace hueweave::test
