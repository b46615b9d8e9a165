// SPDX-License-Identifier: MIT
// judge_colours exact|library INTENT auto|compensated TARGET SOURCE...: the differences between each source profile's
// colours in the target and those of Little CMS in doubles. INTENT is the ICC number, TARGET an output space or a
// profile. Prints one line per source with tab-separated fields; `run` builds tables from them.
#include <cstdio>
#include <functional>
#include <string>

#include "colour/Transform.h"
#include "colour/base/ProfileError.h"
#include "colour/library/EngineProfile.h"
#include "colour/library/LibraryConverter.h"
#include "colour/profile/Target.h"
#include "judges/colours/Truth.h"
#include "support/ProfileBuilder.h"

namespace colour = hueweave::colour;

namespace {

using namespace hueweave::judge;
using hueweave::test::ReadFile;

struct Options {
    bool library = false;
    colour::TransformOptions transform;
    std::string target;
    std::vector<std::string> sources;
};

Options Parse(const std::vector<std::string>& words) {
    if (words.size() < 5) throw std::runtime_error("usage: judge_colours PRECISION INTENT BLACK TARGET SOURCE...");
    Options options;
    options.library = words[0] == "library";
    options.transform.intent = static_cast<colour::RenderingIntent>(std::stoi(words[1]));
    if (words[2] == "compensated") options.transform.blackPoint = colour::BlackPoint::Compensated;
    options.target = words[3];
    options.sources.assign(words.begin() + 4, words.end());
    return options;
}

// Conversions under test

/// Converts interleaved RGB samples of 8 or 16 bits in place.
struct Judged {
    std::string way;
    colour::Bytes target;
    std::function<void(unsigned char* data, unsigned bits, std::size_t pixels)> convert;
};

Judged Exact(const colour::Bytes& source, const Options& options) {
    const colour::Space* const space = colour::FindSpace(options.target);
    const colour::Bytes target =
        space != nullptr ? *colour::MakeTargetProfile(*space, {}, 4) : ReadFile(options.target);
    const auto transform = std::make_shared<const colour::Transform>(source, target, options.transform);
    return {std::string(WayName(transform->way())), target,
            [transform](auto* data, unsigned bits, std::size_t pixels) { transform->Convert(data, bits, pixels); }};
}

Judged Library(const colour::Bytes& source, const Options& options) {
    colour::Rendering rendering;
    rendering.intent = static_cast<ICC40::ICCFILE::Intent>(options.transform.intent);
    rendering.space = colour::FindSpace(options.target);
    if (rendering.space == nullptr) throw std::runtime_error("no such space");
    const colour::EngineProfile engine = colour::PrepareProfile(source, rendering.intent, [] {});
    const auto bytes = std::make_shared<const colour::LibraryConverter>(engine.data, rendering, 8);
    const auto words = std::make_shared<const colour::LibraryConverter>(engine.data, rendering, 16);
    return {engine.bakedBecause.empty() ? "own tables" : "baked", words->OutputProfile(),
            [bytes, words](auto* data, unsigned bits, std::size_t pixels) {
                (bits == 8 ? *bytes : *words).Convert(data, pixels);
            }};
}

/// A grid of 33 x 33 x 33 colours, and 5000 dark ones in a tenth of the range.
std::vector<std::uint16_t> Colours() {
    std::vector<std::uint16_t> samples;
    const auto at = [](unsigned n) { return static_cast<std::uint16_t>(n * 65535 / 32); };
    for (unsigned n = 0; n < 33 * 33 * 33; ++n) {
        for (const unsigned place : {n / (33 * 33), n / 33 % 33, n % 33}) samples.push_back(at(place));
    }
    hueweave::test::Lcg random(7);
    for (int n = 0; n < 3 * 5000; ++n) samples.push_back(static_cast<std::uint16_t>(random.Below(6554)));
    return samples;
}

std::vector<std::uint16_t> Greys() {
    std::vector<std::uint16_t> samples;
    for (unsigned n = 0; n < 3 * 4096; ++n) samples.push_back(static_cast<std::uint16_t>(n / 3 * 65535 / 4095));
    return samples;
}

template <typename Sample>
std::vector<Sample> Converted(const Judged& judged, std::vector<Sample> samples) {
    judged.convert(reinterpret_cast<unsigned char*>(samples.data()), 8 * sizeof(Sample), samples.size() / 3);
    return samples;
}

/// By how many 16-bit steps more or less two channels of a neutral colour differ than in the reference.
double Tint(const Judged& judged, const Truth& truth, const std::vector<std::uint16_t>& greys) {
    const auto pixels = Pixels(greys), reached = Pixels(Converted(judged, greys));
    double most = 0;
    for (std::size_t n = 0; n < pixels.size(); ++n) {
        const Rgb wanted = truth.Of(pixels[n]), pixel = reached[n];
        for (std::size_t c = 0; c < 3; ++c) {
            const std::size_t next = (c + 1) % 3;
            most = std::fmax(most, std::abs((pixel[c] - pixel[next]) - (wanted[c] - wanted[next])) * 65535);
        }
    }
    return most;
}

void Judge(const std::string& path, const Options& options) {
    const colour::Bytes source = ReadFile(path);
    const int intent = static_cast<int>(options.transform.intent);
    const bool compensated = options.transform.blackPoint == colour::BlackPoint::Compensated;
    const Judged judged = options.library ? Library(source, options) : Exact(source, options);
    const Truth truth = options.library ? Truth::WithoutCompensation(source, judged.target, intent)
                                        : Truth(source, judged.target, intent, compensated);
    const auto colours = Colours(), greys = Greys();
    const auto compare = [&](const auto& samples) {
        return truth.Compare(Pixels(samples), Pixels(Converted(judged, samples)));
    };
    const Differences all = compare(colours), neutral = compare(greys);
    std::vector<std::uint8_t> bytes;
    for (const std::uint16_t word : colours) bytes.push_back(static_cast<std::uint8_t>(word >> 8));
    const Rounding rounding = truth.CompareRounded(Pixels(bytes), Pixels(Converted(judged, bytes)), 255);
    std::printf("%s\t%s\t%.5f\t%.4f\t%.4f\t%.4f\t%.0f\t%.4f\t%.2f\t%zu\n", path.c_str(), judged.way.c_str(), all.mean,
                all.p999, all.largest, 100 * rounding.equal, rounding.most, neutral.largest, Tint(judged, truth, greys),
                all.undefined);
}

}  // namespace

int main(int count, char** words) {
    try {
        const Options options = Parse({words + 1, words + count});
        for (const std::string& source : options.sources) {
            try {
                Judge(source, options);
            } catch (const colour::ProfileError& error) {
                std::printf("%s\trefused\t%s\n", source.c_str(), error.what());
            } catch (const std::runtime_error& error) {
                std::printf("%s\tnot judged\t%s\n", source.c_str(), error.what());
            }
        }
    } catch (const std::exception& error) {
        std::fprintf(stderr, "judge_colours: %s\n", error.what());
        return 2;
    }
}
