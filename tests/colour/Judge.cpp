// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#include "colour/Judge.h"

#include <lcms2.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <numeric>
#include <stdexcept>

#include "support/ProfileBuilder.h"

namespace hueweave::test {
namespace {

constexpr cmsUInt32Number kExact = cmsFLAGS_NOOPTIMIZE | cmsFLAGS_NOCACHE;

struct Closer {
    void operator()(void* profile) const { cmsCloseProfile(profile); }
};

std::unique_ptr<void, Closer> OpenBytes(const Bytes& data) {
    return std::unique_ptr<void, Closer>(cmsOpenProfileFromMem(data.data(), static_cast<cmsUInt32Number>(data.size())));
}

std::vector<double> Done(cmsHTRANSFORM transform, const std::vector<double>& colours) {
    if (transform == nullptr) throw std::runtime_error("Little CMS does not link the profiles");
    std::vector<double> result(colours.size());
    cmsDoTransform(transform, colours.data(), result.data(), static_cast<cmsUInt32Number>(colours.size() / 3));
    cmsDeleteTransform(transform);
    return result;
}

std::vector<double> SeenThrough(const Bytes& profile, const std::vector<double>& rgb) {
    const auto lab = std::unique_ptr<void, Closer>(cmsCreateLab4Profile(nullptr));
    return Done(cmsCreateTransform(OpenBytes(profile).get(), TYPE_RGB_DBL, lab.get(), TYPE_Lab_DBL,
                                   INTENT_RELATIVE_COLORIMETRIC, kExact),
                rgb);
}

template <typename Sample>
std::vector<double> Fractions(const std::vector<Sample>& samples) {
    std::vector<double> fractions(samples.size());
    constexpr double kTop = sizeof(Sample) == 1 ? 255 : 65535;
    std::transform(samples.begin(), samples.end(), fractions.begin(), [](Sample s) { return s / kTop; });
    return fractions;
}

std::vector<double> Cut(std::vector<double> values) {
    for (double& value : values) value = std::clamp(value, 0.0, 1.0);
    return values;
}

}  // namespace

Words SampleColours() {
    Words colours;
    for (unsigned n = 0; n < 12 * 12 * 12; ++n) {
        for (const unsigned i : {n / 144, n / 12 % 12, n % 12}) {
            colours.push_back(static_cast<std::uint16_t>(i * 65535 / 11));
        }
    }
    for (unsigned n = 0; n < 512; ++n) colours.insert(colours.end(), 3, static_cast<std::uint16_t>(n * n / 4));
    Lcg random(7);
    for (unsigned n = 0; n < 3 * 600; ++n)
        colours.push_back(static_cast<std::uint16_t>(random.Sample() >> n / 3 % 3 * 2));
    return colours;
}

std::vector<double> Truth(const Bytes& source, const Bytes& target, const TransformOptions& options,
                          const std::vector<double>& rgb) {
    const auto from = OpenBytes(source), to = OpenBytes(target);
    const bool black = options.blackPoint == colour::BlackPoint::Compensated;
    return Done(cmsCreateTransform(from.get(), TYPE_RGB_DBL, to.get(), TYPE_RGB_DBL,
                                   static_cast<cmsUInt32Number>(options.intent),
                                   kExact | (black ? cmsFLAGS_BLACKPOINTCOMPENSATION : 0)),
                rgb);
}

Distance Measure(const Transform& transform, const Bytes& source, const Bytes& target, const TransformOptions& options,
                 const Words& colours) {
    const auto wanted = SeenThrough(target, Cut(Truth(source, target, options, Fractions(colours))));
    const auto reached = SeenThrough(target, Fractions(Converted(transform, colours)));
    std::vector<double> differences;
    for (std::size_t i = 0; i < wanted.size(); i += 3) {
        const cmsCIELab a{wanted[i], wanted[i + 1], wanted[i + 2]}, b{reached[i], reached[i + 1], reached[i + 2]};
        differences.push_back(cmsCIE2000DeltaE(&a, &b, 1, 1, 1));
    }
    std::sort(differences.begin(), differences.end());
    const auto count = static_cast<double>(differences.size());
    Distance distance{std::accumulate(differences.begin(), differences.end(), 0.0) / count,
                      differences[static_cast<std::size_t>(std::ceil(0.999 * count)) - 1], differences.back(), 0, 0};

    Bytes bytes;
    for (const std::uint16_t word : colours) bytes.push_back(static_cast<unsigned char>(word >> 8));
    const auto exact = Cut(Truth(source, target, options, Fractions(bytes)));
    const Bytes rounded = Converted(transform, bytes);
    for (std::size_t i = 0; i < rounded.size(); ++i) {
        const int off = std::abs(static_cast<int>(std::lround(255 * exact[i])) - rounded[i]);
        distance.largest8 = std::max(distance.largest8, off);
        distance.equal8 += off == 0 ? 1 : 0;
    }
    distance.equal8 /= static_cast<double>(rounded.size());
    return distance;
}

}  // namespace hueweave::test
