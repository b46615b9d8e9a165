// SPDX-License-Identifier: MIT
#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <limits>
#include <memory>
#include <optional>
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

/// The packed entry of a 16-bit input value: cell index in the high 16 bits, 12 bits of fraction in the low ones.
constexpr std::uint32_t Packed(unsigned value) { return value / 4096 * 65536 + value % 4096; }

using Grid = std::vector<std::int32_t>;
inline constexpr std::size_t kGridWords = 4096UL * 6 * 3 * 4;
inline std::int32_t* GridWords(CIccEngineS& engine) { return &engine.Lut3D[0][0][0][0]; }
inline Grid GridOf(const CIccEngineS& engine) {
    const std::int32_t* first = &engine.Lut3D[0][0][0][0];
    return Grid(first, first + kGridWords);
}

using Tables = ReferenceTables;
/// A missing table gives an empty vector.
inline Tables InputOf(const CIccEngineS& engine) {
    Tables tables;
    const std::uint32_t* const rows[] = {engine.Lut1DInR.get(), engine.Lut1DInG.get(), engine.Lut1DInB.get()};
    for (std::size_t c = 0; c < 3; ++c) {
        if (rows[c] != nullptr) tables[c].assign(rows[c], rows[c] + engine.InEntries);
    }
    return tables;
}
inline Tables OutputOf(const CIccEngineS& engine) {
    return {std::vector<std::uint32_t>(engine.Lut1DOutR, engine.Lut1DOutR + 65536),
            std::vector<std::uint32_t>(engine.Lut1DOutG, engine.Lut1DOutG + 65536),
            std::vector<std::uint32_t>(engine.Lut1DOutB, engine.Lut1DOutB + 65536)};
}

/// All tables that a conversion reads.
struct Stages {
    Tables input;
    Grid grid;
    Tables output;
};
inline Stages StagesOf(const CIccEngineS& engine) { return {InputOf(engine), GridOf(engine), OutputOf(engine)}; }

inline void ExpectTables(const Tables& tables, const Tables& expected) {
    for (std::size_t c = 0; c < 3; ++c) EXPECT_THAT(tables[c], EqualTo(expected[c])) << "channel " << c;
}
inline void ExpectStages(const Stages& stages, const Stages& expected) {
    ExpectTables(stages.input, expected.input);
    EXPECT_THAT(stages.grid, EqualTo(expected.grid));
    ExpectTables(stages.output, expected.output);
}

/// Fills the tables inside the engine with a pattern, so that a build, or the lack of one, shows.
inline void FillTables(CIccEngineS& engine, std::uint32_t pattern) {
    std::fill_n(GridWords(engine), kGridWords, static_cast<std::int32_t>(pattern));
    for (auto* table : {engine.Lut1DOutR, engine.Lut1DOutG, engine.Lut1DOutB}) std::fill_n(table, 65536, pattern);
}
inline Grid PatternGrid(std::uint32_t pattern) { return Grid(kGridWords, static_cast<std::int32_t>(pattern)); }
inline Tables PatternOutput(std::uint32_t pattern) {
    const std::vector<std::uint32_t> row(65536, pattern);
    return {row, row, row};
}

/// The cells of the reference in the engine's words.
inline Grid WordsOf(const std::vector<ReferenceCell>& cells) {
    static_assert(sizeof(ReferenceCell) == 6 * 3 * 4 * sizeof(std::int32_t));
    Grid words(kGridWords);
    std::memcpy(words.data(), cells.data(), cells.size() * sizeof(ReferenceCell));
    return words;
}

/// All numbers of a job.
inline std::array<int, 12> NumbersOf(const ICC40::ICC_UNIT::Info& unit) {
    return {unit.ProfileState, unit.Spare,     unit.InputSpace, unit.OutputSpace, unit.BuildResult, unit.Intent,
            unit.PixelCount,   unit.WorkCount, unit.Lightness,  unit.Chroma,      unit.Hue,         unit.FormatCode};
}

/// Offsets in L*, C* and degrees.
using Offsets = std::array<double, 3>;
/// The grid expected from a table's block.
inline Grid ExpectedGrid(const Bytes& block, int space, const Offsets& by) {
    return WordsOf(CellStage(GridStage(DecodeLutTag(block).value(), by[0], by[1], by[2], space, std::nullopt)));
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

    /// A profile of one table whose input curves give `mark`.
    static Bytes Marked(unsigned mark) { return MiniProfile({{"A2B0", Mft2(MarkedLut(mark))}}); }
    bool SeesMark(unsigned mark) { return InputOf(engine())[0].at(0) == Packed(mark); }
    std::string Put(const std::string& name, const Bytes& profile) const {
        WriteFile(pair_.Path(name), profile);
        return pair_.Path(name);
    }
    int Bind(const std::string& path, int intent, int input, int output) {
        return engine().SetProfile(path.c_str(), IntentOf(intent), Space(input), Space(output), 0.0, 0.0, 0.0);
    }
    int BindNull(int intent, int input, int output) {
        return engine().SetProfile(nullptr, IntentOf(intent), Space(input), Space(output), 0.0, 0.0, 0.0);
    }
    int Rebind(int intent, int input, int output) {
        return engine().SetIntent(IntentOf(intent), Space(input), Space(output), 0.0, 0.0, 0.0);
    }
    /// The two status fields, as `output`/`result`.
    std::string Status() {
        return std::to_string(engine().Unit.OutputSpace) + "/" + std::to_string(engine().Unit.BuildResult);
    }
    void ExpectGrid(const Grid& expected) { EXPECT_THAT(GridOf(engine()), EqualTo(expected)); }

    EnginePair pair_{Profiles()};
};

inline unsigned char* const kNoBytes = nullptr;

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
    ReferenceEngine reference({});
    reference.inputSpace = engine.Unit.InputSpace;
    reference.in = InputOf(engine);
    reference.cells.resize(4096);
    std::memcpy(reference.cells.data(), engine.Lut3D, sizeof engine.Lut3D);
    reference.out = OutputOf(engine);
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
