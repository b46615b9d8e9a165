// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#pragma once

#include "support/ProfileBuilder.h"
#include "unit/engine/EngineFixture.h"

namespace hueweave::test {

inline unsigned char* const kNoBytes = nullptr;

constexpr std::size_t PixelBytes(bool wide) { return wide ? 6 : 3; }

/// Pixels of any values; the first is black, the second white.
inline Bytes SomePixels(std::size_t count, bool wide) {
    Lcg random(7);
    Bytes bytes(count * PixelBytes(wide));
    for (auto& byte : bytes) byte = static_cast<unsigned char>(random.Next());
    for (std::size_t i = 0; i < std::min(bytes.size(), 2 * PixelBytes(wide)); ++i) {
        bytes[i] = i < PixelBytes(wide) ? 0 : 255;
    }
    return bytes;
}

/// The reference with the tables of an engine.
inline ReferenceEngine ReferenceOf(const CIccEngineS& engine) {
    ReferenceEngine reference({});
    reference.inputSpace = engine.Unit.InputSpace;
    reference.in = InputOf(engine);
    reference.cells.resize(4096);
    std::memcpy(reference.cells.data(), engine.Lut3D, sizeof engine.Lut3D);
    reference.out = OutputOf(engine);
    return reference;
}
/// What a run of pixels must come out as. A part of a pixel at its end stays.
inline Bytes ReferenceRun(const CIccEngineS& engine, const Bytes& pixels) {
    return ReferenceOf(engine).Convert(pixels);
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
    const std::vector<unsigned> values = ScatteredGrid(17, 4711);
    std::vector<ReferenceNode> nodes(values.size() / 3);
    for (std::size_t i = 0; i < values.size(); ++i) nodes[i / 3][i % 3] = static_cast<int>(values[i]);
    const Grid words = WordsOf(CellStage(nodes));
    std::copy(words.begin(), words.end(), GridWords(*engine));
    for (std::uint32_t v = 0; v < 65536; ++v) {
        engine->Lut1DOutR[v] = v * 40503 + 17;
        engine->Lut1DOutG[v] = ~v;
        engine->Lut1DOutB[v] = v ^ 0x12345678;
    }
    return engine;
}

}  // namespace hueweave::test
