// SPDX-License-Identifier: MIT
// An engine bound to any profile, from a file and from memory: results and state follow from its tables, every sequence
// of calls gives the same tables, pixels equal those of the reference pipeline, and the heap stays within a limit that
// depends on the size of the file.
#include "Files.h"
#include "IccModel.h"
#include "Mutation.h"
#include "engine/CIccEngineS.h"
#include "support/ReferencePipeline.h"

namespace hueweave::fuzz {
namespace {

using ICC40::ICC_ENG_S4::CIccEngineS;
using ICC40::ICCFILE::ColorSpaceSignature;
using ICC40::ICCFILE::Intent;

constexpr std::size_t kSteering = 40;
constexpr int kNone = 65535, kPixels = 61;

/// A limit on the heap for binding.
constexpr std::size_t BindHeap(std::size_t size) { return 20 * (std::size_t{1} << 20) + 34 * size; }

struct Job {
    int intent, input, output;
    double lightness, chroma, hue;
};

bool Supported(int output) {
    return (output >= 8 && output <= 13) || (output >= 20 && output <= 31) || (output >= 34 && output <= 39);
}

Job DrawJob(FuzzInput& input) {
    const int intent = input.Between(-1, 4);
    const int encoding = input.Below(8) == 0 ? input.Int() : input.Between(0, 1);
    const int output = input.Below(8) == 0 ? input.Int() : input.Between(8, 39);
    return {intent, encoding, output, input.Double(), input.Double(), input.Double()};  // in this order
}

Bytes SomePixels(const Job& job) { return ScatteredBytes(kPixels * (job.input == 1 ? 6 : 3), 7); }

Bytes Convert(const CIccEngineS& engine, const Job& job) {
    Bytes pixels = SomePixels(job);
    const HeapWatch heap;
    Require(engine.Conversion(pixels.data(), pixels.data(), kPixels) == 0, "result of a conversion");
    Require(heap.Count() == 0, "a conversion takes no heap");
    return pixels;
}

bool SameTables(const CIccEngineS& one, const CIccEngineS& other) {
    const auto same = [&](const auto& a, const auto& b) {
        return std::equal(a.get(), a.get() + one.InEntries, b.get());
    };
    return one.InEntries == other.InEntries && same(one.Lut1DInR, other.Lut1DInR) &&
           same(one.Lut1DInG, other.Lut1DInG) && same(one.Lut1DInB, other.Lut1DInB) &&
           std::memcmp(one.Lut3D, other.Lut3D, sizeof one.Lut3D) == 0 &&
           std::ranges::equal(one.Lut1DOutR, other.Lut1DOutR) && std::ranges::equal(one.Lut1DOutG, other.Lut1DOutG) &&
           std::ranges::equal(one.Lut1DOutB, other.Lut1DOutB);
}

/// `profile` is a path, or bytes.
template <typename Profile>
int Bind(CIccEngineS& engine, Profile profile, const Job& job) {
    return engine.SetProfile(profile, static_cast<Intent>(job.intent), static_cast<ColorSpaceSignature>(job.input),
                             static_cast<ColorSpaceSignature>(job.output), job.lightness, job.chroma, job.hue);
}

/// The state after binding a profile with the table `block`, null for none; `usable`: the engine accepts the table.
void CheckStatus(const CIccEngineS& engine, int result, const Job& job, const Bytes* block, bool usable) {
    const bool encoding = job.input == 0 || job.input == 1;
    Require(result == (encoding ? 0 : 65530), "result of a binding");
    const bool built = encoding && usable && Supported(job.output);
    const bool kept = built || (encoding && block == nullptr);  // a missing table is not an error
    Require(engine.Unit.OutputSpace == (kept ? job.output : kNone), "output space");
    Require((engine.Unit.BuildResult != kNone) == built, "result of the build");
    Require((engine.InEntries != 0) == (encoding && usable), "input tables");
}

/// The same tables again, after a detour through another profile, intent and space.
void CheckOtherWay(const CIccEngineS& engine, const char* path, const Job& job) {
    static const ScratchFile sound(SoundProfile(4));
    static const auto other = std::make_unique<CIccEngineS>();
    const Job first{job.intent == 0 ? 1 : 0, 1 - job.input, job.output == 8 ? 22 : 8, 0, 0, 0};
    Bind(*other, sound.Path(), first);
    Bind(*other, path, first);
    other->SetIntent(static_cast<Intent>(job.intent), static_cast<ColorSpaceSignature>(job.input),
                     static_cast<ColorSpaceSignature>(job.output), 0, 0, 0);
    Require(other->Unit.OutputSpace == engine.Unit.OutputSpace, "the same space on another way");
    Require(SameTables(engine, *other), "the same tables on another way");
}

void CheckPixels(const CIccEngineS& engine, const char* path, const Job& job, const test::TagList& tags) {
    test::ReferenceEngine reference({{path, tags}});
    reference.SetProfile(path, job.intent, job.input, job.output, job.lightness, job.chroma, job.hue);
    Require(reference.outputSpace == engine.Unit.OutputSpace, "output space of the reference");
    if (!reference.CanConvert()) return;
    Require(Convert(engine, job) == reference.Convert(SomePixels(job)), "pixels");
}

}  // namespace

void RunTarget(FuzzInput& input) {
    static const ScratchFile file;
    static const auto engine = std::make_unique<CIccEngineS>(), memory = std::make_unique<CIccEngineS>();
    FuzzInput steering = input.Split(kSteering);
    Job job = DrawJob(steering);
    const bool plain = steering.Bool(), deep = steering.Below(32) == 1;
    if (plain) job.lightness = job.chroma = job.hue = 0;
    const Bytes bytes = file.Put(input.Rest());
    const test::TagList tags = test::ReadTags(bytes);
    const Bytes* block = test::SelectTable(tags, job.intent);
    const bool usable = block != nullptr && test::DecodeLutTag(*block).has_value();

    Require(Bind(*engine, nullptr, {0, 0, 8, 0, 0, 0}) == 65531, "no file");
    Require(engine->Unit.OutputSpace == kNone, "no profile");
    for (CIccEngineS* bound : {engine.get(), memory.get()}) {
        const HeapWatch heap;
        const int result = bound == memory.get() ? Bind(*bound, std::span(bytes), job) : Bind(*bound, file.Path(), job);
        Require(heap.Peak() <= BindHeap(bytes.size()), "heap of a binding");
        CheckStatus(*bound, result, job, block, usable);
    }
    Require(memory->Ready() == engine->Ready(), "readiness from memory");
    Require(memory->Unit.BuildResult == engine->Unit.BuildResult, "build from memory");
    Require(memory->File.tagList.size() == engine->File.tagList.size(), "tags from memory");
    Require(engine->InEntries == 0 || SameTables(*engine, *memory), "the same tables from memory");
    const Bytes converted = Convert(*engine, job);
    Require(engine->InEntries != 0 || converted == SomePixels(job), "without tables pixels stay");
    if (plain && usable && (job.input == 0 || job.input == 1)) CheckOtherWay(*engine, file.Path(), job);
    if (deep && usable) CheckPixels(*engine, file.Path(), job, tags);
    // Adjustments return the space, or 65535 without a table.
    const int space = engine->Unit.OutputSpace;
    const int shifted = engine->Adjust_Lch(steering.Double(), steering.Double(), steering.Double());
    Require(shifted == space || shifted == kNone, "result of an adjustment");
    Require(!usable || shifted == engine->Unit.OutputSpace, "an adjustment keeps the space");
    Convert(*engine, job);
}

HUEWEAVE_FUZZ_MUTATOR(kSteering, IccLayout);

}  // namespace hueweave::fuzz
