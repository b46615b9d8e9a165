// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#include <cmath>
#include <cstddef>

#include "support/ReferencePipeline.h"

namespace hueweave::test {
namespace {

constexpr int kNone = 65535;

double Finite(double value) { return std::isfinite(value) ? value : 0.0; }

// ---- tone curves

/// Entries of a Kodak curve below 65535; the last entry stays 65535.
std::vector<int> KodakCurve(int low, int high, double a, double b, double c) {
    std::vector<int> table(65536, 65535);
    const double e = a / c;
    const double scale = std::pow(10.0, b / c) * 65535.0;
    const double top = std::pow(high / 65535.0, e) * scale;
    const double slope = top / (high - low);
    const double intercept = -(low * top) / (high - low);
    for (int i = 0; i < 65535; ++i) {
        int value = 0;
        if (i >= high) {
            value = static_cast<int>(std::pow(i / 65535.0, e) * scale + 128.0);
            if (value > 65535) value = 65535;
        } else if (i > low) {
            value = static_cast<int>(i * slope + intercept);
            if (value < 0) value = 0;
        }
        table[static_cast<std::size_t>(i)] = value;
    }
    return table;
}

int To8(int t) { return t < 65536 ? t >> 8 : 255; }

/// The curve of sRGB (8 and 9) or of gamma 1.8 (22 and 23) at one index.
int GammaEntry(int kind, int i) {
    const double x = i / 65535.0;
    if (kind == 22) return To8(static_cast<int>(std::pow(x, 0.5556) * 65535.0 + 128.0));
    if (kind == 23) return static_cast<int>(std::pow(x, 0.5556) * 65535.0 + 0.5);
    const bool line = 0.00304 > x;
    if (kind == 8) {
        const double y = line ? x * 65535.0 * 12.92 : (std::pow(x, 0.4167) * 1.055 - 0.055) * 65535.0;
        return To8(static_cast<int>(y + 128.0));
    }
    if (line) return static_cast<int>(x * 65535.0 * 12.92);
    return static_cast<int>((std::pow(x, 0.4167) * 1.055 - 0.055) * 65535.0 + 0.5);
}

/// The table of an output space, in short for all three channels; sets `result`.
std::vector<int> ToneCurve(int space, int& result) {
    std::vector<int> table;
    for (int i = 0; i < 65536; ++i) table.push_back(i);
    bool shift = false;
    int gamma = 0;
    result = space;
    switch (space) {
        case 8:
        case 12:
            gamma = 8;
            result = 8;
            break;
        case 9:
        case 13:
            gamma = 9;
            result = 9;
            break;
        case 10:
        case 20:
        case 24:
        case 28:
            shift = true;
            break;
        case 11:
        case 21:
        case 25:
        case 29:
            break;
        case 22:
        case 26:
        case 30:
            gamma = 22;
            break;
        case 23:
        case 27:
        case 31:
            gamma = 23;
            break;
        case 34:
            table = KodakCurve(0, 1024, 1.2, 0.0, 2.2);
            shift = true;
            break;
        case 35:
            table = KodakCurve(0, 1024, 1.2, 0.0, 2.2);
            break;
        case 36:
            table = KodakCurve(512, 2048, 1.5, 0.2, 2.2);
            shift = true;
            break;
        case 37:
            table = KodakCurve(512, 2048, 1.5, 0.0, 2.2);
            shift = true;
            break;
        case 38:
            table = KodakCurve(2048, 10240, 2.0, 0.3, 2.2);
            shift = true;
            break;
        case 39:
            table = KodakCurve(2048, 10240, 2.0, 0.3, 2.2);
            break;
        default:
            result = kNone;
    }
    for (int i = 0; i < 65536; ++i) {
        int& entry = table[static_cast<std::size_t>(i)];
        if (gamma != 0) entry = GammaEntry(gamma, i);
        if (shift) entry >>= 8;
    }
    return table;
}

/// One pixel through the stages, as it would be worked out on paper.
std::array<std::uint32_t, 3> ConvertPixel(const ReferenceEngine& engine, std::size_t r, std::size_t g, std::size_t b) {
    const std::uint32_t packed[3] = {engine.in[0].at(r), engine.in[1].at(g), engine.in[2].at(b)};
    const auto fR = static_cast<int>(packed[0] % 65536);
    const auto fG = static_cast<int>(packed[1] % 65536);
    const auto fB = static_cast<int>(packed[2] % 65536);
    const std::size_t cell = (packed[0] / 65536 * 16 + packed[1] / 65536) * 16 + packed[2] / 65536;
    std::size_t record = 5;
    if (fR > fG) {
        if (fR > fB) {
            record = fG > fB ? 0 : 1;
        } else {
            record = 2;
        }
    } else if (fG > fB) {
        record = fR > fB ? 3 : 4;
    }
    std::array<std::uint32_t, 3> result{};
    for (std::size_t c = 0; c < 3; ++c) {
        const auto& k = engine.cells.at(cell)[record][c];
        const std::int64_t sum =
            std::int64_t{k[0]} + std::int64_t{fR} * k[1] + std::int64_t{fG} * k[2] + std::int64_t{fB} * k[3];
        result[c] = engine.out[c].at(static_cast<std::size_t>(sum / 4096));
    }
    return result;
}

}  // namespace

ReferenceOutput OutputStage(int outputSpace) {
    // Tone curves are worked out once: no other stage has any bearing on them.
    static std::map<int, ReferenceOutput> known;
    const auto found = known.find(outputSpace);
    if (found != known.end()) return found->second;
    ReferenceOutput output;
    const std::vector<int> table = ToneCurve(outputSpace, output.result);
    for (auto& channel : output.tables) {
        for (const int entry : table) channel.push_back(static_cast<std::uint32_t>(entry));
    }
    known[outputSpace] = output;
    return output;
}

const Bytes* ReferenceEngine::Find(const std::string& name) const {
    for (const auto& tag : tags_) {
        if (tag.first == name) return &tag.second;
    }
    return nullptr;
}

const Bytes* ReferenceEngine::Select() const {
    std::string first = "A2B0";
    if (intent == 1 || intent == 3) first = "A2B1";
    if (intent == 2) first = "A2B2";
    const Bytes* block = Find(first);
    return block != nullptr ? block : Find("A2B1");
}

std::optional<ReferenceWhite> ReferenceEngine::White() const {
    const Bytes* block = intent == 3 ? Find("wtpt") : nullptr;
    if (block == nullptr || block->size() < 20) return std::nullopt;
    ReferenceWhite white{};
    for (std::size_t i = 0; i < 12; ++i) white[i / 4] = white[i / 4] * 256 + (*block)[8 + i];
    return white;
}

int ReferenceEngine::Refuse() {
    outputSpace = kNone;
    buildResult = kNone;
    return kNone;
}

void ReferenceEngine::BuildGrid(const ReferenceLut& lut, double dL, double dC, double dh) {
    cells = CellStage(GridStage(lut, dL, dC, dh, outputSpace, White()));
}

void ReferenceEngine::BuildOutput() {
    const ReferenceOutput output = OutputStage(outputSpace);
    out = output.tables;
    buildResult = output.result;
    if (output.result == kNone) outputSpace = kNone;
}

int ReferenceEngine::BuildAll(double dL, double dC, double dh) {
    const Bytes* block = Select();
    if (block == nullptr) return kNone;
    const auto lut = DecodeLutTag(*block);
    if (!lut) return Refuse();
    in = InputStage(*lut, inputSpace);
    BuildGrid(*lut, dL, dC, dh);
    BuildOutput();
    return outputSpace;
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
    for (auto& table : in) table.clear();
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
    const int whole[3] = {static_cast<int>(dL), static_cast<int>(dC), static_cast<int>(dh)};
    if (whole[0] == lightness && whole[1] == chroma && whole[2] == hue) return outputSpace;
    lightness = whole[0];
    chroma = whole[1];
    hue = whole[2];
    const Bytes* block = Select();
    if (block == nullptr) return kNone;
    const auto lut = DecodeLutTag(*block);
    if (!lut) return Refuse();
    BuildGrid(*lut, dL, dC, dh);
    return outputSpace;
}

int ReferenceEngine::AdjustOutput(const Bytes& red, const Bytes& green, const Bytes& blue, int count) {
    if (count == 0 || red.empty() || green.empty() || blue.empty()) return outputSpace;
    const Bytes* block = Select();
    if (block == nullptr) return kNone;
    const auto lut = DecodeLutTag(*block);
    if (!lut) return Refuse();
    out = AdjustedOutputStage(*lut, red, green, blue, count, inputSpace == 0);
    if (inputSpace == 0) buildResult = outputSpace;
    return outputSpace;
}

bool ReferenceEngine::Converts() const { return !in[0].empty() && (inputSpace != 1 || in[0].size() == 65536); }

bool ReferenceEngine::CanConvert() const { return inputSpace == 1 ? in[0].size() == 65536 : !in[0].empty(); }

Bytes ReferenceEngine::Convert(const Bytes& pixels) const {
    const std::size_t width = inputSpace == 1 ? 2 : 1;
    Bytes result = pixels;
    for (std::size_t at = 0; at + 3 * width <= pixels.size(); at += 3 * width) {
        std::size_t sample[3];
        for (std::size_t c = 0; c < 3; ++c) {
            const std::size_t place = at + c * width;
            sample[c] = width == 1 ? pixels[place] : pixels[place] + std::size_t{256} * pixels[place + 1];
        }
        const auto converted = ConvertPixel(*this, sample[0], sample[1], sample[2]);
        for (std::size_t c = 0; c < 3; ++c) {
            const std::size_t place = at + c * width;
            result[place] = static_cast<unsigned char>(converted[c] & 0xffU);
            if (width == 2) result[place + 1] = static_cast<unsigned char>(converted[c] >> 8 & 0xffU);
        }
    }
    return result;
}

}  // namespace hueweave::test
