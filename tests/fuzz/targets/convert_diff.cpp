// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
//
// The pixel loops of every instruction set beside the reference pipeline, over tables that no profile may ever give:
// any fractions, ties among them, any nodes, any address, any distance of source and destination.
#include <algorithm>
#include <array>
#include <cstring>
#include <memory>
#include <vector>

#include "FuzzInput.h"
#include "engine/CIccEngineS.h"
#include "engine/kernels/Kernels.h"
#include "support/ReferencePipeline.h"

using namespace hueweave::fuzz;
using namespace ICC40::ICC_ENG_S4;
using hueweave::test::ReferenceEngine;

namespace {

constexpr std::size_t kValues = 65536;

/// The order of axes, by number of the tetrahedron, in which the way from the first to the last corner goes.
constexpr std::size_t kWays[6][3] = {{0, 1, 2}, {0, 2, 1}, {2, 0, 1}, {1, 0, 2}, {1, 2, 0}, {2, 1, 0}};

/// An engine and the reference with the same tables: kept from run to run, as they are large.
struct Pair {
    std::unique_ptr<CIccEngineS> engine = std::make_unique<CIccEngineS>();
    ReferenceEngine reference{{}};
    std::vector<std::size_t> used;  ///< cells that are not blank

    Pair() {
        std::memset(engine->Lut3D, 0, sizeof engine->Lut3D);
        reference.cells.resize(4096);
        Scatter scatter(99);
        std::uint32_t* const tables[3] = {engine->Lut1DOutR, engine->Lut1DOutG, engine->Lut1DOutB};
        for (std::size_t c = 0; c < 3; ++c) {
            reference.out[c].resize(kValues);
            for (std::size_t i = 0; i < kValues; ++i) reference.out[c][i] = tables[c][i] = scatter.Sample();
            reference.in[c].resize(kValues);
        }
        for (auto* table : {&engine->Lut1DInR, &engine->Lut1DInG, &engine->Lut1DInB}) {
            *table = std::make_unique<std::uint32_t[]>(kValues);
        }
    }
    void SetInput(std::size_t channel, std::size_t sample, std::uint32_t packed) {
        const auto* table = channel == 0 ? &engine->Lut1DInR : channel == 1 ? &engine->Lut1DInG : &engine->Lut1DInB;
        (*table)[sample] = packed;
        reference.in[channel][sample] = packed;
    }
    void SetCell(std::size_t cell, Scatter& scatter) {
        used.push_back(cell);
        const bool flat = scatter.Below(8) == 0;
        for (std::size_t record = 0; record < 6; ++record) {
            for (std::size_t c = 0; c < 3; ++c) {
                std::array<std::int32_t, 4> corner{};
                for (auto& value : corner) value = static_cast<std::int32_t>(Node(scatter));
                if (flat) corner.fill(corner[0]);
                std::array<std::int32_t, 4>& entry = reference.cells[cell][record][c];
                entry[0] = corner[0] * 4096;
                for (std::size_t i = 0; i < 3; ++i) entry[1 + kWays[record][i]] = corner[i + 1] - corner[i];
                std::copy(entry.begin(), entry.end(), engine->Lut3D[cell][record][c]);
            }
        }
    }
    void Clear() {
        for (const std::size_t cell : used) {
            reference.cells[cell] = {};
            std::memset(engine->Lut3D[cell], 0, sizeof engine->Lut3D[cell]);
        }
        used.clear();
    }
    static unsigned Node(Scatter& scatter) {
        const std::size_t how = scatter.Below(6);
        return how == 0 ? 0U : how == 1 ? 65535U : how == 2 ? 65280U : scatter.Sample();
    }
};

/// Two cells an axis, in any order, and a few fractions, so that ties are frequent.
struct Palette {
    std::array<std::array<std::uint32_t, 2>, 3> cells{};
    std::array<std::uint32_t, 6> fractions{0, 4095, 1};

    Palette(FuzzInput& input, Pair& pair, Scatter& scatter) {
        for (auto& axis : cells) {
            for (auto& cell : axis) cell = static_cast<std::uint32_t>(input.Below(16));
        }
        for (std::size_t i = 3; i < fractions.size(); ++i) fractions[i] = static_cast<std::uint32_t>(input.Below(4096));
        for (const auto r : cells[0]) {
            for (const auto g : cells[1]) {
                for (const auto b : cells[2]) pair.SetCell((r * 16 + g) * 16 + b, scatter);
            }
        }
    }
    std::uint32_t Packed(std::size_t channel, Scatter& scatter) const {
        const std::uint32_t cell = cells[channel][scatter.Below(2)];
        const std::size_t how = scatter.Below(8);
        const auto any = static_cast<std::uint32_t>(scatter.Below(4096));
        return cell << 16 | (how < fractions.size() ? fractions[how] : any);
    }
};

void CheckKernels(const Pair& pair, const Bytes& pixels, const Bytes& expected, int count, bool wide, std::size_t at) {
    constexpr std::size_t kFence = 64;
    const CIccEngineS& engine = *pair.engine;
    const Stages stages{{engine.Lut1DInR.get(), engine.Lut1DInG.get(), engine.Lut1DInB.get()},
                        &engine.Lut3D[0][0],
                        {engine.Lut1DOutR, engine.Lut1DOutG, engine.Lut1DOutB}};
    for (const Kernel* kernel : Kernels()) {
        // In place, at any address, between fences; then with the destination before the source.
        for (const std::size_t back : {std::size_t{0}, std::size_t{1} + at, std::size_t{24}}) {
            Bytes room(kFence + at + pixels.size() + kFence, 0xa5), model = room;
            unsigned char* from = &room[kFence + at];
            std::copy(pixels.begin(), pixels.end(), from);
            std::copy(pixels.begin(), pixels.end(), &model[kFence + at]);
            std::copy(expected.begin(), expected.end(), &model[kFence + at - back]);
            (wide ? kernel->words : kernel->bytes)(stages, from, from - back, count);
            Require(room == model, kernel->name);
        }
    }
}

/// A destination that starts inside the run: later pixels are converted as earlier ones have left them.
void CheckAhead(const Pair& pair, const Bytes& pixels, int count, std::size_t ahead) {
    const ReferenceEngine& reference = pair.reference;
    Bytes room(pixels.size() + ahead), model = room;
    std::copy(pixels.begin(), pixels.end(), room.begin());
    std::copy(pixels.begin(), pixels.end(), model.begin());
    Require(pair.engine->Conversion(room.data(), room.data() + ahead, count) == 0, "result");
    for (std::size_t p = 0; p < static_cast<std::size_t>(count); ++p) {
        const Bytes one(&model[6 * p], &model[6 * p] + 6);
        const Bytes converted = reference.Convert(one);
        std::copy(converted.begin(), converted.end(), &model[6 * p + ahead]);
    }
    Require(room == model, "a destination ahead of the source");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static Pair pair;
    FuzzInput input(data, size);
    Scatter scatter(input.U32());
    const bool wide = input.Bool();
    const std::size_t at = input.Below(8), ahead = 1 + input.Below(40);
    const int count = static_cast<int>(input.Below(100));
    const Palette palette(input, pair, scatter);
    pair.engine->Unit.InputSpace = wide ? ICC40::ICCFILE::CsRGB_16 : ICC40::ICCFILE::CsRGB_8;
    pair.engine->InEntries = wide ? 65536 : 256;
    pair.reference.inputSpace = wide ? 1 : 0;

    Bytes pixels;
    std::vector<std::pair<std::size_t, std::size_t>> samples;
    for (int i = 0; i < 3 * count; ++i) {
        // The input's own bytes first, then any.
        const std::size_t sample = (input.Empty() ? scatter.Sample() : input.U16()) & (wide ? 0xffffU : 0xffU);
        const auto channel = static_cast<std::size_t>(i % 3);
        samples.emplace_back(channel, sample);
        pair.SetInput(channel, sample, palette.Packed(channel, scatter));
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

    for (const auto& [channel, sample] : samples) pair.SetInput(channel, sample, 0);
    pair.Clear();
    return 0;
}
