// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#pragma once

#include <lcms2.h>

#include <memory>
#include <string>

#include "FileAccess.h"

namespace hueweave::tool {

struct LcmsProfileCloser {
    void operator()(void* profile) const { cmsCloseProfile(profile); }
};
struct LcmsTransformCloser {
    void operator()(void* transform) const { cmsDeleteTransform(transform); }
};
struct LcmsCurveCloser {
    void operator()(cmsToneCurve* curve) const { cmsFreeToneCurve(curve); }
};
using LcmsProfile = std::unique_ptr<void, LcmsProfileCloser>;
using LcmsTransform = std::unique_ptr<void, LcmsTransformCloser>;
using LcmsCurve = std::unique_ptr<cmsToneCurve, LcmsCurveCloser>;

/// Null for what is no profile. Messages of Little CMS are kept from the terminal.
LcmsProfile OpenProfile(const Bytes& data);
/// The profile as a file, with a fixed date, so that the same profile always is the same bytes.
Bytes SaveProfile(cmsHPROFILE profile);
/// A screen's profile before version 4: its white point tells the light of the screen, to which the eye adapts, so
/// that for the absolute intent it counts as D50, as in later versions.
bool IsOldScreen(cmsHPROFILE profile);
/// Its description in English, or an empty text.
std::string Description(cmsHPROFILE profile);
void WriteText(cmsHPROFILE profile, cmsTagSignature tag, const std::string& text);
/// The four characters of a signature without spaces at the end.
std::string SignatureText(std::uint32_t signature);

/// From device RGB in doubles of 0 to 1 to CIE Lab under D50, in floating point and without black point compensation.
LcmsTransform DeviceToLab(cmsHPROFILE profile, int intent);

}  // namespace hueweave::tool
