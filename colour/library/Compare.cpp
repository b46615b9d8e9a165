// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#include "colour/library/Compare.h"

#include <algorithm>
#include <cstring>

#include "colour/base/ProfileError.h"
#include "colour/profile/Lcms.h"

namespace hueweave::colour {
namespace {

constexpr std::size_t kWorst = 5;
constexpr double kOutside = 0.001;  ///< of the sample range: colours beyond this are outside the space

/// The engine's samples, 0 to 1.
std::vector<double> ByEngine(const PixelConverter& converter, const std::vector<DeviceColour>& colours) {
    const std::size_t count = 3 * colours.size();
    std::vector<double> samples(count);
    if (converter.bits() == 8) {
        Bytes data(count);
        for (std::size_t i = 0; i < count; ++i) data[i] = static_cast<unsigned char>(colours[i / 3][i % 3] / 257);
        converter.Convert(data.data(), colours.size(), 3, false);
        for (std::size_t i = 0; i < count; ++i) samples[i] = data[i] / 255.0;
        return samples;
    }
    Bytes data(2 * count);
    std::memcpy(data.data(), colours.data(), data.size());
    converter.Convert(data.data(), colours.size(), 3, false);
    for (std::size_t i = 0; i < count; ++i) {
        std::uint16_t value;
        std::memcpy(&value, data.data() + 2 * i, sizeof value);
        samples[i] = value / 65535.0;
    }
    return samples;
}

double Quantile(const std::vector<double>& sorted, double share) {
    return sorted[std::min(sorted.size() - 1, static_cast<std::size_t>(share * static_cast<double>(sorted.size())))];
}

}  // namespace

std::vector<DeviceColour> GridColours(unsigned points) {
    std::vector<DeviceColour> colours;
    const auto at = [&](unsigned n) { return static_cast<std::uint16_t>((n * 255 / (points - 1)) * 257); };
    for (unsigned i = 0; i < points; ++i) {
        for (unsigned j = 0; j < points; ++j) {
            for (unsigned k = 0; k < points; ++k) colours.push_back({at(i), at(j), at(k)});
        }
    }
    return colours;
}

Comparison Compare(const Bytes& engineProfile, const Bytes& original, const Rendering& rendering, unsigned bits,
                   const std::vector<DeviceColour>& colours, const Poll& poll) {
    const PixelConverter converter(engineProfile, rendering, bits);
    const std::vector<double> engine = ByEngine(converter, colours);

    LcmsWork work;
    const cmsHPROFILE device = work.Open(original);
    const cmsHPROFILE output = work.Open(converter.OutputProfile());
    const cmsHTRANSFORM toLab = device ? work.DeviceToLab(device, static_cast<int>(rendering.intent)) : nullptr;
    const cmsHTRANSFORM fromLab = output ? work.LabToDevice(output, INTENT_RELATIVE_COLORIMETRIC) : nullptr;
    const cmsHTRANSFORM outputLab = output ? work.DeviceToLab(output, INTENT_RELATIVE_COLORIMETRIC) : nullptr;
    if (toLab == nullptr || fromLab == nullptr || outputLab == nullptr) {
        throw ProfileError("cannot be used by Little CMS");
    }

    Comparison result;
    result.colours = colours.size();
    std::vector<double> differences;
    std::vector<Comparison::Worst> all;
    for (std::size_t n = 0; n < colours.size(); ++n) {
        poll();
        double rgb[3];
        for (std::size_t c = 0; c < 3; ++c) {
            const int byte = colours[n][c] / 257;
            rgb[c] = bits == 8 ? byte / 255.0 : colours[n][c] / 65535.0;
        }
        cmsCIELab wanted, reached;
        cmsDoTransform(toLab, rgb, &wanted, 1);
        cmsDoTransform(fromLab, &wanted, rgb, 1);
        bool outside = false;
        for (double& sample : rgb) {
            outside = outside || sample < -kOutside || sample > 1 + kOutside;
            sample = std::clamp(sample, 0.0, 1.0);
        }
        result.clipped += outside;
        cmsDoTransform(outputLab, rgb, &wanted, 1);
        cmsDoTransform(outputLab, &engine[3 * n], &reached, 1);
        const double difference = cmsCIE2000DeltaE(&wanted, &reached, 1, 1, 1);
        differences.push_back(difference);
        all.push_back({colours[n], {wanted.L, wanted.a, wanted.b}, difference});
    }
    std::partial_sort(all.begin(), all.begin() + static_cast<std::ptrdiff_t>(std::min(kWorst, all.size())), all.end(),
                      [](const auto& x, const auto& y) { return x.difference > y.difference; });
    all.resize(std::min(kWorst, all.size()));
    result.worst = std::move(all);
    for (const double d : differences) result.mean += d / static_cast<double>(differences.size());
    std::sort(differences.begin(), differences.end());
    result.median = Quantile(differences, 0.5);
    result.p95 = Quantile(differences, 0.95);
    result.p99 = Quantile(differences, 0.99);
    result.maximum = differences.back();
    return result;
}

}  // namespace hueweave::colour
