// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
//
// An engine bound to any profile, from a file and from memory: results and state as its tables ask for, the same tables
// on whichever way they came to be, pixels as the reference pipeline converts them, and no more heap than the file's
// size allows.
#include <algorithm>
#include <cstring>
#include <memory>
#include <optional>
#include <span>

#include "Files.h"
#include "IccModel.h"
#include "Mutation.h"
#include "engine/CIccEngineS.h"
#include "support/ReferencePipeline.h"

using namespace hueweave::fuzz;
using ICC40::ICC_ENG_S4::CIccEngineS;
using ICC40::ICCFILE::ColorSpaceSignature;
using ICC40::ICCFILE::Intent;

namespace {

constexpr std::size_t kSteering = 40;
constexpr int kNone = 65535;

struct Job {
    int intent, input, output;
    double lightness, chroma, hue;
};

bool Supported(int output) {
    return (output >= 8 && output <= 13) || (output >= 20 && output <= 31) || (output >= 34 && output <= 39);
}

Job DrawJob(FuzzInput& input) {
    Job job{};
    job.intent = input.Between(-1, 4);
    job.input = input.Below(8) == 0 ? input.Int() : input.Between(0, 1);
    job.output = input.Below(8) == 0 ? input.Int() : input.Between(8, 39);
    job.lightness = input.Double();
    job.chroma = input.Double();
    job.hue = input.Double();
    return job;
}

/// The block that an intent selects.
const Bytes* Select(const ModelProfile& profile, int intent) {
    const std::uint32_t number = intent == 1 || intent == 3 ? '1' : intent == 2 ? '2' : '0';
    for (const std::uint32_t name : {0x41324200U + number, 0x41324231U}) {
        for (const ModelTag& tag : profile.tags) {
            if (tag.name == name) return &tag.block;
        }
    }
    return nullptr;
}

/// Any pixels, with fences before and behind them that must stay.
struct Run {
    static constexpr std::size_t kFence = 32;
    Run(const Job& job, int count) : pixels(count), width(job.input == 1 ? 2 : 1) {
        Scatter scatter(7);
        const std::size_t length = 2 * kFence + Length();
        for (std::size_t i = 0; i < length; ++i) bytes.push_back(static_cast<unsigned char>(scatter.Next()));
    }
    std::size_t Length() const { return static_cast<std::size_t>(pixels) * 3 * width; }
    unsigned char* Data() { return &bytes[kFence]; }
    Bytes Pixels() const {
        const auto first = bytes.begin() + kFence;
        return Bytes(first, first + static_cast<std::ptrdiff_t>(Length()));
    }
    bool FencesAs(const Run& other) const {
        return std::equal(bytes.begin(), bytes.begin() + kFence, other.bytes.begin()) &&
               std::equal(bytes.end() - kFence, bytes.end(), other.bytes.end() - kFence);
    }
    int pixels;
    std::size_t width;
    Bytes bytes;
};

Bytes Convert(const CIccEngineS& engine, const Job& job) {
    const Run before(job, 61);
    Run run = before;
    const HeapWatch heap;
    Require(engine.Conversion(run.Data(), run.Data(), run.pixels) == 0, "result of a conversion");
    Require(engine.Conversion(run.Data(), run.Data(), 0) == 0 && engine.Conversion(run.Data(), run.Data(), -5) == 0,
            "no pixels");
    Require(heap.Count() == 0, "a conversion takes no heap");
    Require(run.FencesAs(before), "nothing beside the run is touched");
    return run.Pixels();
}

bool SameTables(const CIccEngineS& one, const CIccEngineS& other) {
    if (one.InEntries != other.InEntries) return false;
    const std::size_t bytes = static_cast<std::size_t>(one.InEntries) * sizeof(std::uint32_t);
    return (bytes == 0 || (std::memcmp(one.Lut1DInR.get(), other.Lut1DInR.get(), bytes) == 0 &&
                           std::memcmp(one.Lut1DInG.get(), other.Lut1DInG.get(), bytes) == 0 &&
                           std::memcmp(one.Lut1DInB.get(), other.Lut1DInB.get(), bytes) == 0)) &&
           std::memcmp(one.Lut3D, other.Lut3D, sizeof one.Lut3D) == 0 &&
           std::memcmp(one.Lut1DOutR, other.Lut1DOutR, sizeof one.Lut1DOutR) == 0 &&
           std::memcmp(one.Lut1DOutG, other.Lut1DOutG, sizeof one.Lut1DOutG) == 0 &&
           std::memcmp(one.Lut1DOutB, other.Lut1DOutB, sizeof one.Lut1DOutB) == 0;
}

/// `profile` is a path, or bytes.
template <typename Profile>
int Bind(CIccEngineS& engine, Profile profile, const Job& job) {
    return engine.SetProfile(profile, static_cast<Intent>(job.intent), static_cast<ColorSpaceSignature>(job.input),
                             static_cast<ColorSpaceSignature>(job.output), job.lightness, job.chroma, job.hue);
}

/// The status that a profile leaves; none where it depends on nothing but the table.
void CheckStatus(const CIccEngineS& engine, int result, const Job& job, const Bytes* block, bool usable) {
    const bool encoding = job.input == 0 || job.input == 1;
    Require(result == (encoding ? 0 : 65530), "result of a binding");
    int expected = kNone;
    if (encoding && block == nullptr) expected = job.output;  // a missing table is no failure
    if (encoding && usable && Supported(job.output)) expected = job.output;
    Require(engine.Unit.OutputSpace == expected, "output space");
    const bool built = encoding && usable && Supported(job.output);
    Require((engine.Unit.BuildResult != kNone) == built, "result of the build");
    Require((engine.InEntries != 0) == (encoding && usable), "input tables");
}

/// The same from memory.
void CheckMemory(const CIccEngineS& engine, int result, std::span<const std::uint8_t> bytes, const Job& job) {
    static const auto memory = std::make_unique<CIccEngineS>();
    const HeapWatch heap;
    Require(Bind(*memory, bytes, job) == result, "result from memory");
    Require(heap.Peak() <= 20 * (std::size_t{1} << 20) + 34 * bytes.size(), "heap of a binding from memory");
    Require(memory->Ready() == engine.Ready(), "readiness from memory");
    Require(memory->Unit.OutputSpace == engine.Unit.OutputSpace, "space from memory");
    Require(memory->Unit.BuildResult == engine.Unit.BuildResult, "build from memory");
    Require(memory->File.tagList.size() == engine.File.tagList.size(), "tags from memory");
    Require(memory->InEntries == engine.InEntries, "input tables from memory");
    Require(engine.InEntries == 0 || SameTables(engine, *memory), "the same tables from memory");
}

/// The same tables again, by way of another profile, intent and space.
void CheckOtherWay(const CIccEngineS& engine, const char* path, const Job& job) {
    static const ScratchFile sound;
    sound.Put(SoundProfile(4));
    static const auto other = std::make_unique<CIccEngineS>();
    const Job first{job.intent == 0 ? 1 : 0, 1 - job.input, job.output == 8 ? 22 : 8, 0, 0, 0};
    Bind(*other, sound.Path(), first);
    Bind(*other, path, first);
    other->SetIntent(static_cast<Intent>(job.intent), static_cast<ColorSpaceSignature>(job.input),
                     static_cast<ColorSpaceSignature>(job.output), 0, 0, 0);
    Require(other->Unit.OutputSpace == engine.Unit.OutputSpace, "the same space on another way");
    Require(SameTables(engine, *other), "the same tables on another way");
}

void CheckPixels(const CIccEngineS& engine, const char* path, const Job& job, const ModelProfile& model) {
    hueweave::test::ReferenceEngine reference({{path, TagsOf(model)}});
    reference.SetProfile(path, job.intent, job.input, job.output, job.lightness, job.chroma, job.hue);
    Require(reference.outputSpace == engine.Unit.OutputSpace, "output space of the reference");
    if (reference.CanConvert()) Require(Convert(engine, job) == reference.Convert(Run(job, 61).Pixels()), "pixels");
}

}  // namespace

HUEWEAVE_FUZZ_MUTATOR(kSteering, MutateIcc);

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const ScratchFile file;
    static const auto engine = std::make_unique<CIccEngineS>();
    const std::size_t steering = std::min(size, kSteering);
    FuzzInput input(data, steering);
    Job job = DrawJob(input);
    const bool plain = input.Bool();
    const bool deep = input.Below(32) == 1;
    if (plain) job.lightness = job.chroma = job.hue = 0;
    const Bytes bytes(data + steering, data + size);
    file.Put(bytes);
    const ModelProfile model = ReadModel(bytes);
    const Bytes* block = Select(model, job.intent);
    const bool usable = block != nullptr && hueweave::test::DecodeLutTag(*block).has_value();

    Require(Bind(*engine, nullptr, {0, 0, 8, 0, 0, 0}) == 65531, "no file");
    Require(engine->Unit.OutputSpace == kNone, "no profile");
    const HeapWatch heap;
    const int result = Bind(*engine, file.Path(), job);
    Require(heap.Peak() <= 20 * (std::size_t{1} << 20) + 34 * bytes.size(), "heap of a binding");
    CheckStatus(*engine, result, job, block, usable);
    CheckMemory(*engine, result, bytes, job);
    const bool ready = engine->InEntries != 0;
    const Bytes converted = Convert(*engine, job);
    if (!ready) Require(converted == Run(job, 61).Pixels(), "without tables pixels stay");
    if (plain && usable && (job.input == 0 || job.input == 1)) CheckOtherWay(*engine, file.Path(), job);
    if (deep && usable) CheckPixels(*engine, file.Path(), job, model);
    // Adjustments answer with the space, or with 65535 where there is no table to work with.
    const int space = engine->Unit.OutputSpace;
    const int shifted = engine->Adjust_Lch(input.Double(), input.Double(), input.Double());
    Require(shifted == space || shifted == kNone, "result of an adjustment");
    Require(!usable || shifted == engine->Unit.OutputSpace, "an adjustment keeps the space");
    Convert(*engine, job);
    return 0;
}
