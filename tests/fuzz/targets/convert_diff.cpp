// SPDX-License-Identifier: MIT
// The pixel loops of every instruction set compared with the reference pipeline, with tables that no profile may ever
// give: any fractions, including ties, any nodes, any alignment, any distance between source and destination.
#include "FuzzInput.h"
#include "engine/CIccEngineS.h"
#include "engine/kernels/Kernels.h"
#include "support/ReferencePipeline.h"
#include "support/ReferenceUnits.h"

namespace hueweave::fuzz {
namespace {

using namespace ICC40::ICC_ENG_S4;

constexpr std::size_t kValues = 65536;

/// The edges of a tetrahedron between drawn nodes.
void SetEdges(std::array<std::int32_t, 4>& entry, const std::size_t (&axes)[3], Scatter& scatter) {
    constexpr std::int32_t kEnds[] = {0, 65535, 65280};
    std::array<std::int32_t, 4> corner{};
    for (auto& value : corner) {
        const std::size_t how = scatter.Below(6);
        value = how < 3 ? kEnds[how] : scatter.Sample();
    }
    if (scatter.Below(8) == 0) corner.fill(corner[0]);
    entry[0] = corner[0] * 4096;
    for (std::size_t i = 0; i < 3; ++i) entry[1 + axes[i]] = corner[i + 1] - corner[i];
}

/// An engine and the reference with the same tables. The six tetrahedra of a cell have nodes of their own, so that the
/// result shows which of them is used where fractions are equal.
struct Pair {
    std::unique_ptr<CIccEngineS> engine = std::make_unique<CIccEngineS>();
    test::ReferenceEngine reference{{}};

    Pair() {
        Scatter scatter(99);
        reference.cells.resize(4096);
        for (test::ReferenceCell& cell : reference.cells) {
            for (std::size_t record = 0; record < 6; ++record) {
                for (auto& entry : cell[record]) SetEdges(entry, test::kTetrahedra[record], scatter);
            }
        }
        std::memcpy(engine->Lut3D, reference.cells.data(), sizeof engine->Lut3D);
        std::uint32_t* const tables[3] = {engine->Lut1DOutR, engine->Lut1DOutG, engine->Lut1DOutB};
        for (std::size_t c = 0; c < 3; ++c) {
            reference.in[c].resize(kValues);
            Input(c) = std::make_unique<std::uint32_t[]>(kValues);
            for (std::size_t i = 0; i < kValues; ++i) reference.out[c].push_back(tables[c][i] = scatter.Sample());
        }
    }
    std::unique_ptr<std::uint32_t[]>& Input(std::size_t channel) const {
        return channel == 0 ? engine->Lut1DInR : channel == 1 ? engine->Lut1DInG : engine->Lut1DInB;
    }
};

void CheckKernels(const Pair& pair, const Bytes& pixels, const Bytes& expected, int count, bool wide, std::size_t at) {
    constexpr std::size_t kFence = 64;
    const CIccEngineS& engine = *pair.engine;
    const Stages stages{{engine.Lut1DInR.get(), engine.Lut1DInG.get(), engine.Lut1DInB.get()},
                        &engine.Lut3D[0][0],
                        {engine.Lut1DOutR, engine.Lut1DOutG, engine.Lut1DOutB}};
    for (const Kernel* kernel : Kernels()) {
        // In place, at any alignment, between guard bytes; then with the destination before the source.
        for (const std::size_t back : {std::size_t{0}, std::size_t{1} + at, std::size_t{24}}) {
            Bytes room(kFence + at + pixels.size() + kFence, 0xa5);
            unsigned char* from = &room[kFence + at];
            std::copy(pixels.begin(), pixels.end(), from);
            Bytes model = room;
            std::copy(expected.begin(), expected.end(), &model[kFence + at - back]);
            (wide ? kernel->words : kernel->bytes)(stages, from, from - back, count);
            Require(room == model, kernel->name);
        }
    }
}

/// A destination that starts inside the run: later pixels are converted from what earlier ones have written.
void CheckAhead(const Pair& pair, const Bytes& pixels, int count, std::size_t ahead) {
    Bytes room = pixels;
    room.resize(pixels.size() + ahead);
    Bytes model = room;
    Require(pair.engine->Conversion(room.data(), room.data() + ahead, count) == 0, "result");
    for (std::size_t at = 0; at < pixels.size(); at += 6) {
        const Bytes converted = pair.reference.Convert(Bytes(&model[at], &model[at] + 6));
        std::copy(converted.begin(), converted.end(), &model[at + ahead]);
    }
    Require(room == model, "a destination ahead of the source");
}

}  // namespace

void RunTarget(FuzzInput& input) {
    static Pair pair;
    Scatter scatter(input.U32());
    const bool wide = input.Bool();
    const std::size_t at = input.Below(8), ahead = 1 + input.Below(40);
    const int count = static_cast<int>(input.Below(100));
    // Two cells per axis, in any order, and a few fractions, so that ties are frequent.
    std::size_t cells[6], fractions[6] = {0, 4095, 1};
    for (std::size_t& cell : cells) cell = input.Below(16);
    for (std::size_t i = 3; i < 6; ++i) fractions[i] = input.Below(4096);
    pair.engine->Unit.InputSpace = wide ? ICC40::ICCFILE::CsRGB_16 : ICC40::ICCFILE::CsRGB_8;
    pair.engine->InEntries = wide ? 65536 : 256;
    pair.reference.inputSpace = wide ? 1 : 0;

    Bytes pixels;
    for (int i = 0; i < 3 * count; ++i) {
        // Values from the input first, then random ones.
        const std::size_t sample = (input.Empty() ? scatter.Sample() : input.U16()) & (wide ? 0xffffU : 0xffU);
        const auto channel = static_cast<std::size_t>(i % 3);
        const std::size_t cell = cells[2 * channel + scatter.Below(2)], how = scatter.Below(8);
        const std::size_t any = scatter.Below(4096), packed = cell << 16 | (how < 6 ? fractions[how] : any);
        pair.Input(channel)[sample] = pair.reference.in[channel][sample] = static_cast<std::uint32_t>(packed);
        pixels.push_back(static_cast<unsigned char>(sample & 0xff));
        if (wide) pixels.push_back(static_cast<unsigned char>(sample >> 8));
    }
    const Bytes expected = pair.reference.Convert(pixels);
    Bytes run = pixels, dest(pixels.size(), 0xa5);
    Require(pair.engine->Conversion(run.data(), wide ? dest.data() : nullptr, count) == 0, "result");
    Require((wide ? dest : run) == expected, "pixels");
    Require(!wide || run == pixels, "the source stays");
    CheckKernels(pair, pixels, expected, count, wide, at);
    if (wide && count > 0) CheckAhead(pair, pixels, count, ahead);
}

}  // namespace hueweave::fuzz
