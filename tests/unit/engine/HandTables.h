// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#pragma once

#include <cstring>

#include "unit/engine/EngineFixture.h"

namespace hueweave::test {

using Samples = std::vector<std::uint16_t>;

inline unsigned char* const kNoBytes = nullptr;

/// Samples of any values, the same on every machine; the extremes come first.
inline Samples SomeSamples(std::size_t count, unsigned top) {
    Samples samples;
    std::uint32_t state = 2463534242U;
    for (std::size_t i = 0; i < count; ++i) {
        state = state * 1664525U + 1013904223U;
        samples.push_back(static_cast<std::uint16_t>(i < 3 ? 0 : i < 6 ? top : (state >> 12) % (top + 1)));
    }
    return samples;
}

inline Bytes WordBytes(const Samples& samples) {
    Bytes bytes(2 * samples.size());
    std::memcpy(bytes.data(), samples.data(), bytes.size());
    return bytes;
}
inline Samples WordsAt(const unsigned char* bytes, std::size_t count) {
    Samples samples(count);
    std::memcpy(samples.data(), bytes, 2 * count);
    return samples;
}

/// One pixel through the tables of an engine, on the plain reading of the rules: three packed entries, the order of
/// the fractions, one formula a channel, three output entries cut to `bits`.
inline std::array<unsigned, 3> ReferencePixel(const CIccEngineS& engine, const std::array<unsigned, 3>& sample,
                                              unsigned bits) {
    const std::uint32_t packed[3] = {engine.Lut1DInR[sample[0]], engine.Lut1DInG[sample[1]],
                                     engine.Lut1DInB[sample[2]]};
    long long f[3];
    std::size_t cell = 0;
    for (std::size_t c = 0; c < 3; ++c) {
        f[c] = packed[c] % 65536;
        cell = cell * 16 + packed[c] / 65536;
    }
    std::size_t record = 5;
    if (f[0] > f[1] && f[0] > f[2]) record = f[1] > f[2] ? 0 : 1;
    if (f[0] > f[1] && f[0] <= f[2]) record = 2;
    if (f[0] <= f[1] && f[1] > f[2]) record = f[0] > f[2] ? 3 : 4;
    const std::uint32_t* const out[3] = {engine.Lut1DOutR, engine.Lut1DOutG, engine.Lut1DOutB};
    std::array<unsigned, 3> result{};
    for (std::size_t c = 0; c < 3; ++c) {
        const auto& words = engine.Lut3D[cell][record][c];
        const long long sum = words[0] + f[0] * words[1] + f[1] * words[2] + f[2] * words[3];
        result[c] = out[c][sum / 4096] & ((1U << bits) - 1);
    }
    return result;
}

/// A run of whole pixels through `ReferencePixel`.
inline Samples ReferenceRun(const CIccEngineS& engine, Samples samples, unsigned bits) {
    for (std::size_t p = 0; p + 2 < samples.size(); p += 3) {
        const auto pixel = ReferencePixel(engine, {samples[p], samples[p + 1], samples[p + 2]}, bits);
        for (std::size_t c = 0; c < 3; ++c) samples[p + c] = static_cast<std::uint16_t>(pixel[c]);
    }
    return samples;
}

/// An engine whose tables are laid by hand: scattered grid values in 0..65535, input tables that reach every cell and
/// fraction, and output entries that are wider than a sample.
inline std::unique_ptr<CIccEngineS> MakeHandEngine(bool wide) {
    auto engine = std::make_unique<CIccEngineS>();
    engine->Unit.InputSpace = Space(wide ? 1 : 0);
    engine->Unit.OutputSpace = Space(wide ? 9 : 8);
    const std::uint32_t entries = wide ? 65536 : 256;
    engine->InEntries = static_cast<int>(entries);
    std::unique_ptr<std::uint32_t[]>* const input[3] = {&engine->Lut1DInR, &engine->Lut1DInG, &engine->Lut1DInB};
    for (std::uint32_t c = 0; c < 3; ++c) {
        *input[c] = std::make_unique<std::uint32_t[]>(entries);
        for (std::uint32_t s = 0; s < entries; ++s) {
            const std::uint32_t cell = (s * (65536 / entries) / 4096 + 5 * c) % 16;
            const std::uint32_t fraction = (s * (2 * c + 1) * 977 + 301 * c) % 4096;
            (*input[c])[s] = cell << 16 | fraction;
        }
    }
    const std::vector<unsigned> nodes = ScatteredGrid(17, 4711);
    const Grid cells = BakeCells([&](int i, int j, int k, int channel) {
        return static_cast<std::int32_t>(nodes[static_cast<std::size_t>(((i * 17 + j) * 17 + k) * 3 + channel)]);
    });
    std::copy(cells.begin(), cells.end(), GridWords(*engine));
    for (std::uint32_t v = 0; v < 65536; ++v) {
        engine->Lut1DOutR[v] = v * 40503 + 17;
        engine->Lut1DOutG[v] = ~v;
        engine->Lut1DOutB[v] = v ^ 0x12345678;
    }
    return engine;
}

}  // namespace hueweave::test
