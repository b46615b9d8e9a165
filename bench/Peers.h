// SPDX-License-Identifier: MIT
// Copyright (c) The Hueweave authors
#pragma once

#include <lcms2.h>

#include <memory>
#include <string>

#include "engine/CIccEngineS.h"
#include "engine/kernels/Kernels.h"

namespace bench {

using Engine = ICC40::ICC_ENG_S4::CIccEngineS;

/// What both engines convert with. `points` on an axis of the grid; `inputEntries` and `outputEntries` a curve. 0
/// points stand for the profile of the demonstration: 33 points, 1024 and 256 entries.
struct ProfileShape {
    int points = 0;
    int inputEntries = 1024;
    int outputEntries = 1024;
};

/// A profile file that is gone at the end of the scope.
class ProfileFile {
public:
    explicit ProfileFile(ProfileShape shape = {});
    ProfileFile(const ProfileFile&) = delete;
    ProfileFile& operator=(const ProfileFile&) = delete;
    ~ProfileFile();
    const char* Path() const { return path_.c_str(); }

private:
    std::string path_;
};

/// An output space of ours and the same for Little CMS.
struct Target {
    ICC40::ICCFILE::ColorSpaceSignature bytes, words;
    cmsHPROFILE (*make)();
    ICC40::ICCFILE::ColorSpaceSignature Space(int bits) const { return bits == 8 ? bytes : words; }
};
extern const Target kSRgb;
extern const Target kAdobeRgb;

ICC40::ICCFILE::ColorSpaceSignature Input(int bits);

/// An engine bound to the profile, perceptual. Throws if it is not.
std::unique_ptr<Engine> MakeEngine(const ProfileFile& profile, int bits, const Target& target = kSRgb);
/// The engine's tables as the pixel loops read them.
ICC40::ICC_ENG_S4::Stages StagesOf(const Engine& engine);

/// Little CMS: the same profile and intent, the samples as wide as ours.
class LittleCms {
public:
    LittleCms(const ProfileFile& profile, int bits, cmsUInt32Number flags, const Target& target = kSRgb);
    LittleCms(const LittleCms&) = delete;
    LittleCms& operator=(const LittleCms&) = delete;
    ~LittleCms();
    void Transform(const void* source, void* dest, std::size_t pixels) const;

private:
    cmsHPROFILE from_, to_;
    cmsHTRANSFORM transform_;
};

cmsUInt32Number LcmsFormat(int bits);

}  // namespace bench
