// SPDX-License-Identifier: MIT
// Reference colours of a device in another space by Little CMS alone: in doubles, without its optimisations and its
// cache. Shares no code with colour/, which it is used to judge.
#pragma once

#include <lcms2.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <memory>

#include "support/ByteWriter.h"

namespace hueweave::judge {

using test::Bytes;
using Rgb = std::array<double, 3>;  ///< 0 to 1

/// Ends with the function that Little CMS has for it.
template <auto kEnd>
struct Ends {
    void operator()(void* held) const { kEnd(held); }
};
using Profile = std::unique_ptr<void, Ends<cmsCloseProfile>>;
using Transform = std::unique_ptr<void, Ends<cmsDeleteTransform>>;

/// A profile opened by Little CMS.
inline Profile Open(const Bytes& data) {
    Profile profile(cmsOpenProfileFromMem(data.data(), static_cast<cmsUInt32Number>(data.size())));
    if (profile == nullptr) throw std::runtime_error("is not a profile for Little CMS");
    return profile;
}

/// The pixels of interleaved samples of 8 or 16 bits.
template <typename Sample>
std::vector<Rgb> Pixels(const std::vector<Sample>& samples) {
    constexpr double kTop = static_cast<Sample>(-1);
    std::vector<Rgb> pixels(samples.size() / 3);
    for (std::size_t i = 0; i < 3 * pixels.size(); ++i) pixels[i / 3][i % 3] = samples[i] / kTop;
    return pixels;
}

/// CIEDE2000 between converted pixels and the reference.
struct Differences {
    double mean = 0, p999 = 0, largest = 0;
    std::size_t undefined = 0;  ///< colours for which Little CMS gives NaN
};

/// Of differences of which some may be NaN.
inline Differences Summary(const std::vector<double>& differences) {
    Differences result;
    std::vector<double> all = differences;
    std::erase_if(all, [](double difference) { return !std::isfinite(difference); });
    if (all.empty()) throw std::runtime_error("has no colours");
    std::sort(all.begin(), all.end());
    for (const double difference : all) result.mean += difference / static_cast<double>(all.size());
    result.p999 = all[all.size() - 1 - all.size() / 1000];
    result.largest = all.back();
    result.undefined = differences.size() - all.size();
    return result;
}

/// Converted samples compared with the rounded reference.
struct Rounding {
    double equal = 0;  ///< fraction of samples
    double most = 0;   ///< largest difference of a sample
};

class Truth {
public:
    /// `intent` is the ICC number.
    Truth(const Bytes& source, const Bytes& target, int intent, bool compensatesBlack) : Truth(source, target) {
        const cmsUInt32Number flags = compensatesBlack ? cmsFLAGS_BLACKPOINTCOMPENSATION : 0;
        first_ = Link(source_.get(), TYPE_RGB_DBL, target_.get(), TYPE_RGB_DBL, intent, flags);
    }
    /// For a target of curves and a matrix, which are the same for every intent: Little CMS applies black point
    /// compensation to the perceptual and saturation intents whenever the target is of version 4, unless the transform
    /// uses the relative intent.
    static Truth WithoutCompensation(const Bytes& source, const Bytes& target, int intent) {
        Truth truth(source, target);
        truth.first_ = Link(truth.source_.get(), TYPE_RGB_DBL, truth.lab_.get(), TYPE_Lab_DBL, intent, 0);
        truth.second_ = Link(truth.lab_.get(), TYPE_Lab_DBL, truth.target_.get(), TYPE_RGB_DBL, kRelative, 0);
        return truth;
    }

    /// Clipped to 0 to 1. NaN where Little CMS gives NaN.
    Rgb Of(const Rgb& device) const {
        Rgb result;
        if (second_ == nullptr) {
            cmsDoTransform(first_.get(), device.data(), result.data(), 1);
        } else {
            cmsCIELab lab;
            cmsDoTransform(first_.get(), device.data(), &lab, 1);
            cmsDoTransform(second_.get(), &lab, result.data(), 1);
        }
        for (double& value : result) value = value < 0 ? 0 : value > 1 ? 1 : value;
        return result;
    }
    /// Compares `converted` with the reference for `pixels`. CIEDE2000 is computed through the target's own profile.
    Differences Compare(const std::vector<Rgb>& pixels, const std::vector<Rgb>& converted) const {
        std::vector<double> all;
        for (std::size_t n = 0; n < pixels.size(); ++n) {
            const Rgb wanted = Of(pixels[n]);
            cmsCIELab labs[2];
            cmsDoTransform(seen_.get(), wanted.data(), &labs[0], 1);
            cmsDoTransform(seen_.get(), converted.at(n).data(), &labs[1], 1);
            all.push_back(cmsCIE2000DeltaE(&labs[0], &labs[1], 1, 1, 1));
        }
        return Summary(all);
    }
    /// The same by samples, whose largest value is `top`.
    Rounding CompareRounded(const std::vector<Rgb>& pixels, const std::vector<Rgb>& converted, double top) const {
        Rounding result;
        for (std::size_t n = 0; n < pixels.size(); ++n) {
            const Rgb wanted = Of(pixels[n]);
            for (std::size_t c = 0; c < 3; ++c) {
                const double off = std::abs(std::round(wanted[c] * top) - std::round(converted.at(n)[c] * top));
                result.equal += off == 0 ? 1 : 0;
                result.most = std::fmax(result.most, off);
            }
        }
        result.equal /= 3.0 * static_cast<double>(pixels.size());
        return result;
    }

private:
    static constexpr int kRelative = INTENT_RELATIVE_COLORIMETRIC;

    Truth(const Bytes& source, const Bytes& target)
        : source_(Open(source)), target_(Open(target)), lab_(cmsCreateLab2Profile(nullptr)) {
        seen_ = Link(target_.get(), TYPE_RGB_DBL, lab_.get(), TYPE_Lab_DBL, kRelative, 0);
    }

    static Transform Link(void* from, cmsUInt32Number fromType, void* to, cmsUInt32Number toType, int intent,
                          cmsUInt32Number flags) {
        flags |= cmsFLAGS_NOOPTIMIZE | cmsFLAGS_NOCACHE;
        Transform link(cmsCreateTransform(from, fromType, to, toType, static_cast<cmsUInt32Number>(intent), flags));
        if (link == nullptr) throw std::runtime_error("is not linked by Little CMS");
        return link;
    }

    Profile source_, target_, lab_;
    Transform first_, second_, seen_;
};

}  // namespace hueweave::judge
