// SPDX-License-Identifier: MIT
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <limits>
#include <memory>
#include <string>
#include <vector>

#include "pipeline/EnginePair.h"
#include "support/MiniProfile.h"

namespace hueweave::test {

using ICC40::ICC4_HEADER::TagName;
using ICC40::ICC_ENG_S4::CIccEngineS;
using ICC40::ICCFILE::CLut16Type;

inline constexpr double kInfinity = std::numeric_limits<double>::infinity();
inline constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

/// Fills the tables inside the engine with a byte, so that a build, or the lack of one, shows.
inline void FillTables(CIccEngineS& engine, int byte) {
    for (auto* table : {engine.Lut1DOutR, engine.Lut1DOutG, engine.Lut1DOutB}) {
        std::memset(table, byte, sizeof engine.Lut1DOutR);
    }
    std::memset(engine.Lut3D, byte, sizeof engine.Lut3D);
}
/// The same in an engine and in its reference.
inline void FillTables(EnginePair& pair, int byte) {
    FillTables(pair.Real(), byte);
    pair.Reference().cells.resize(4096);
    std::memset(pair.Reference().cells.data(), byte, sizeof pair.Real().Lut3D);
    pair.Reference().out.fill(std::vector(65536, static_cast<std::uint32_t>(byte) * 0x01010101U));
}

// The tables of the profile that most tests bind, and a white point other than the usual one.
inline const Bytes kA2B0 = Mft2(SmoothLut(5));
inline const Bytes kA2B1 = Mft2(SmoothLut(9));
inline Bytes WhiteBlock() { return XyzBlock(0xe000, 0x10000, 0x9000); }

/// An engine beside its reference, with the profiles that most tests bind; and calls to the engine alone.
class EngineTest : public testing::Test {
public:
    static std::map<std::string, Bytes> Profiles() {
        return {{"smooth.icc", MiniProfile({{"A2B0", kA2B0}, {"A2B1", kA2B1}})},
                {"zero.icc", MiniProfile({{"A2B0", kA2B0}})},
                {"mark.icc", MiniProfile({{"A2B0", Mft2(MarkedLut(0x4000))}})},
                {"curved.icc", MiniProfile({{"A2B0", MftAB(MarkedLut(0x4000))}})},
                {"none.icc", MiniProfile({{"wtpt", WhiteBlock()}, {"B2A0", kA2B0}})},
                {"bytes.icc", MiniProfile({{"A2B0", Mft1()}})},
                {"empty.icc", {}}};
    }

protected:
    CIccEngineS& engine() { return pair_.Real(); }
    ReferenceEngine& reference() { return pair_.Reference(); }

    /// A profile of one table whose input curves give `mark`.
    static Bytes Marked(unsigned mark) { return MiniProfile({{"A2B0", Mft2(MarkedLut(mark))}}); }
    /// The packed entry: cell index in the high 16 bits, 12 bits of fraction in the low ones.
    bool SeesMark(unsigned mark) { return engine().Lut1DInR[0] == mark / 4096 * 65536 + mark % 4096; }
    std::string Put(const std::string& name, const Bytes& profile) const {
        WriteFile(pair_.Path(name), profile);
        return pair_.Path(name);
    }
    int Bind(const char* path, int intent, int input, int output) {
        return engine().SetProfile(path, IntentOf(intent), Space(input), Space(output), 0.0, 0.0, 0.0);
    }
    /// The two status fields, as `output`/`result`.
    std::string Status() {
        return std::to_string(engine().Unit.OutputSpace) + "/" + std::to_string(engine().Unit.BuildResult);
    }

    EnginePair pair_{Profiles()};
};

constexpr std::size_t PixelBytes(bool wide) { return wide ? 6 : 3; }

/// Pixels of random values; the first is black, the second white.
inline Bytes SomePixels(std::size_t count, bool wide) {
    Lcg random(7);
    Bytes bytes(count * PixelBytes(wide));
    for (auto& byte : bytes) byte = static_cast<unsigned char>(random.Next());
    for (std::size_t i = 0; i < std::min(bytes.size(), 2 * PixelBytes(wide)); ++i) {
        bytes[i] = i < PixelBytes(wide) ? 0 : 255;
    }
    return bytes;
}

/// A reference that has the tables of an engine.
inline ReferenceEngine ReferenceOf(const CIccEngineS& engine) {
    const std::uint32_t* const in[] = {engine.Lut1DInR.get(), engine.Lut1DInG.get(), engine.Lut1DInB.get()};
    const std::uint32_t* const out[] = {engine.Lut1DOutR, engine.Lut1DOutG, engine.Lut1DOutB};
    ReferenceEngine reference({});
    reference.inputSpace = engine.Unit.InputSpace;
    for (std::size_t c = 0; c < 3; ++c) {
        if (in[c] != nullptr) reference.in[c].assign(in[c], in[c] + engine.InEntries);
        reference.out[c].assign(out[c], out[c] + 65536);
    }
    reference.cells.resize(4096);
    std::memcpy(reference.cells.data(), engine.Lut3D, sizeof engine.Lut3D);
    return reference;
}
/// The expected result of a run of pixels. An incomplete pixel at its end stays unchanged.
inline Bytes ReferenceRun(const CIccEngineS& engine, const Bytes& pixels) {
    return ReferenceOf(engine).Convert(pixels);
}

/// An engine with tables made by hand: scattered grid values in 0..65535, input tables that reach every cell and
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
    const auto values = ScatteredGrid(17, 4711);
    std::vector<ReferenceNode> nodes(values.size() / 3);
    for (std::size_t i = 0; i < values.size(); ++i) nodes[i / 3][i % 3] = values[i];
    std::memcpy(engine->Lut3D, CellStage(nodes).data(), sizeof engine->Lut3D);
    for (std::uint32_t v = 0; v < 65536; ++v) {
        engine->Lut1DOutR[v] = v * 40503 + 17;
        engine->Lut1DOutG[v] = ~v;
        engine->Lut1DOutB[v] = v ^ 0x12345678;
    }
    return engine;
}

}  // namespace hueweave::test
