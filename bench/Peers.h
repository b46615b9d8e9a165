// SPDX-License-Identifier: MIT
#pragma once

#include <lcms2.h>

#include <memory>
#include <string>

#include "engine/CIccEngineS.h"
#include "engine/kernels/Kernels.h"

namespace bench {

using Engine = ICC40::ICC_ENG_S4::CIccEngineS;

/// Parameters of the profile for both engines: `points` per axis of the grid, `inputEntries` and `outputEntries` per
/// curve. 0 points mean the profile of the demo: 33 points, 1024 and 256 entries.
struct ProfileShape {
    int points = 0;
    int inputEntries = 1024;
    int outputEntries = 1024;
};

/// A profile file that is deleted at the end of the scope.
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

/// An output space of the library and the same space for Little CMS.
struct Target {
    ICC40::ICCFILE::ColorSpaceSignature bytes, words;
    cmsHPROFILE (*make)();
    ICC40::ICCFILE::ColorSpaceSignature Space(int bits) const { return bits == 8 ? bytes : words; }
};
extern const Target kSRgb;
extern const Target kAdobeRgb;

ICC40::ICCFILE::ColorSpaceSignature Input(int bits);

/// An engine bound to the profile with the perceptual intent. Throws if binding fails.
std::unique_ptr<Engine> MakeEngine(const ProfileFile& profile, int bits, const Target& target = kSRgb);
/// The engine's tables for the pixel loops.
ICC40::ICC_ENG_S4::Stages StagesOf(const Engine& engine);

/// Little CMS with the same profile, intent and sample width.
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
