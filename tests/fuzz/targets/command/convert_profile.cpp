// SPDX-License-Identifier: MIT
// Any bytes as a profile: it is refused as a profile, or pixels are converted by it to the result of an engine bound to
// the same bytes. Where no engine accepts it, a profile is baked from it, which every intent accepts.
#include "Mutation.h"
#include "Scene.h"
#include "batch/session/ProfileFile.h"
#include "colour/library/EngineBinding.h"
#include "colour/library/EngineProfile.h"
#include "colour/library/LibraryConverter.h"
#include "system/Signals.h"

namespace hueweave::fuzz {
namespace {

using namespace colour;
using namespace tool;

constexpr std::size_t kSteering = 4;
constexpr std::size_t kPixels = 3 * 64;

Rendering DrawRendering(FuzzInput& input) {
    Rendering rendering;
    rendering.intent = Intents()[input.Below(Intents().size())].intent;
    // Only spaces that need nothing beyond the engine, so that an engine can check the result.
    rendering.space = FindSpace(input.Below(2) == 0 ? "srgb" : "adobe-rgb-g18");
    return rendering;
}

/// The pixels as an engine converts them that is bound here.
Bytes ByEngine(const Bytes& profile, const Rendering& rendering, unsigned bits, Bytes pixels) {
    const Space& space = *rendering.space;
    const auto engine = BindEngine(profile, rendering, bits == 16, bits == 8 ? space.code8 : space.code16);
    Require(engine != nullptr, "an engine takes what the converter took");
    for (std::size_t at = 0; at < pixels.size(); at += 3 * bits / 8) engine->Conversion(&pixels[at], &pixels[at], 1);
    return pixels;
}

void CheckBaked(const Bytes& profile, const EngineProfile& engine, ICC40::ICCFILE::Intent intent) {
    for (const NamedIntent& named : Intents()) {
        Require(!WhyBake(engine.data, named.intent), "a baked profile needs no baking");
    }
    Require(PrepareProfile(profile, intent, ThrowIfInterrupted).data == engine.data,
            "the same profile bakes to the same");
    Require(TakeEmbedded("baked.icc", engine.data).data == engine.data,
            "a baked profile is one that the command takes");
}

}  // namespace

void RunTarget(FuzzInput& input) {
    static const ScratchFile file;
    const Rendering rendering = DrawRendering(input);
    const unsigned bits = input.Bool() ? 16 : 8;
    const bool embedded = input.Bool();
    const Bytes bytes = file.Put(input.Rest());
    const std::ptrdiff_t descriptors = OpenFiles();
    DeviceProfile profile;
    const auto unreadable =
        RefusalOf([&] { profile = embedded ? TakeEmbedded("scan.tif", bytes) : LoadProfile(file.Path()); });
    Require(OpenFiles() == descriptors, "every file is closed");
    Require(!unreadable || unreadable->status() == Exit::Profile, "it is the profile that is refused");
    if (unreadable) return;
    Require(profile.data == bytes && profile.embedded == embedded, "the bytes of the file");

    EngineProfile engine;
    std::unique_ptr<LibraryConverter> converter;
    Bytes output;
    const auto convert = [&] {
        engine = PrepareProfile(profile.data, rendering.intent, ThrowIfInterrupted);
        converter = std::make_unique<LibraryConverter>(engine.data, rendering, bits);
        output = converter->OutputProfile();
    };
    const auto refusal = RefusalOf([&] { Named(profile.name, convert); });
    Require(OpenFiles() == descriptors, "every file is closed again");
    Require(!refusal || refusal->status() == Exit::Profile, "it is still the profile that is refused");
    if (refusal) return;
    Require(!engine.bakedBecause.empty() || engine.data == bytes, "a profile that the engine takes is used as it is");
    if (!engine.bakedBecause.empty()) CheckBaked(bytes, engine, rendering.intent);
    Bytes pixels = ScatteredBytes(3 * kPixels * bits / 8, bits);
    const Bytes wanted = ByEngine(engine.data, rendering, bits, pixels);
    converter->Convert(pixels.data(), kPixels);
    Require(pixels == wanted, "the pixels of the engine");
    Require(!output.empty() && TakeEmbedded("out.tif", output).data == output, "the profile of the output is sound");
}

HUEWEAVE_FUZZ_MUTATOR(kSteering, IccLayout);

}  // namespace hueweave::fuzz
