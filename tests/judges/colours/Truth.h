// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
//
// Reference colours of a device in another space by Little CMS alone: in doubles, without its optimisations and its
// cache. Shares no code with colour/, which it is used to judge.
#pragma once

#include <lcms2.h>

#include <array>
#include <fstream>
#include <iterator>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace hueweave::judge {

using Bytes = std::vector<unsigned char>;
using Rgb = std::array<double, 3>;  ///< 0 to 1

inline Bytes ReadFile(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    if (!file) throw std::runtime_error("cannot open " + path);
    return {std::istreambuf_iterator<char>(file), {}};
}

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
    /// CIEDE2000 between two colours of the target, computed through its own profile.
    double Difference(const Rgb& one, const Rgb& other) const {
        cmsCIELab labs[2];
        cmsDoTransform(seen_.get(), one.data(), &labs[0], 1);
        cmsDoTransform(seen_.get(), other.data(), &labs[1], 1);
        return cmsCIE2000DeltaE(&labs[0], &labs[1], 1, 1, 1);
    }

private:
    struct Closes {
        void operator()(void* profile) const { cmsCloseProfile(profile); }
    };
    struct Deletes {
        void operator()(void* transform) const { cmsDeleteTransform(transform); }
    };
    using Profile = std::unique_ptr<void, Closes>;
    using Transform = std::unique_ptr<void, Deletes>;

    static constexpr int kRelative = INTENT_RELATIVE_COLORIMETRIC;

    Truth(const Bytes& source, const Bytes& target)
        : source_(Open(source)), target_(Open(target)), lab_(cmsCreateLab2Profile(nullptr)) {
        seen_ = Link(target_.get(), TYPE_RGB_DBL, lab_.get(), TYPE_Lab_DBL, kRelative, 0);
    }

    static Profile Open(const Bytes& data) {
        Profile profile(cmsOpenProfileFromMem(data.data(), static_cast<cmsUInt32Number>(data.size())));
        if (profile == nullptr) throw std::runtime_error("is not a profile for Little CMS");
        return profile;
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
