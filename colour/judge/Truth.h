// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>

#include "colour/base/Poll.h"
#include "colour/base/TransformOptions.h"
#include "colour/profile/Connection.h"
#include "colour/profile/OpenProfile.h"

namespace hueweave::colour {

/// The expected result of a transform, by Little CMS in floating point and without its optimisations. Threads may share
/// it.
class Truth {
public:
    /// Throws a `ProfileError` for profiles that Little CMS does not link. Everything belongs to `work`.
    Truth(LcmsWork& work, const OpenProfile& source, const OpenProfile& target, const TransformOptions& options);

    /// Colours of the target, 0 to 1 and beyond, for interleaved colours of the source: ink in percent, CIE Lab as it
    /// is, all others 0 to 1.
    void Convert(const float* source, float* dest, std::size_t pixels) const;
    /// CIELAB of the target's RGB colours, 0 to 1, by its own profile.
    void TargetLab(const double* rgb, cmsCIELab* lab, std::size_t pixels) const;

private:
    void ConvertByLab(const float* source, float* dest, std::size_t pixels) const;

    TransformOptions options_;
    std::size_t sourceChannels_, targetChannels_;
    cmsHTRANSFORM targetLab_;
    cmsHTRANSFORM link_ = nullptr;  ///< null if the transform goes through Lab
    cmsHTRANSFORM toLab_ = nullptr, fromLab_ = nullptr;
    Connection connection_;
};

}  // namespace hueweave::colour
