// SPDX-License-Identifier: MIT
#include "Peers.h"

#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <stdexcept>

#include "Profile.h"
#include "support/ProfileBuilder.h"

namespace bench {
namespace {

using namespace ICC40::ICCFILE;
using hueweave::test::LutShape;

hueweave::test::Bytes Build(ProfileShape shape) {
    LutShape lut;
    lut.points = shape.points;
    lut.inputEntries = shape.inputEntries;
    lut.outputEntries = shape.outputEntries;
    return hueweave::test::ProfileBuilder()
        .Xyz("wtpt", 0xf6d6, 0x10000, 0xd32d)
        .Mft2("A2B0", hueweave::test::MakeLut(lut))
        .Build();
}

/// AdobeRGB with a gamma of 1.8.
cmsHPROFILE MakeAdobe18() {
    const cmsCIExyY white = {0.3127, 0.3290, 1.0};
    const cmsCIExyYTRIPLE primaries = {{0.64, 0.33, 1.0}, {0.21, 0.71, 1.0}, {0.15, 0.06, 1.0}};
    cmsToneCurve* const curve = cmsBuildGamma(nullptr, 1.8);
    cmsToneCurve* const curves[3] = {curve, curve, curve};
    const cmsHPROFILE profile = cmsCreateRGBProfile(&white, &primaries, curves);
    cmsFreeToneCurve(curve);
    return profile;
}

}  // namespace

const Target kSRgb = {CssRGB_8, CssRGB_16, cmsCreate_sRGBProfile};
const Target kAdobeRgb = {CsAdobeRGB_Gamma180_8, CsAdobeRGB_Gamma180_16, MakeAdobe18};

ProfileFile::ProfileFile(ProfileShape shape) {
    path_ = (std::filesystem::temp_directory_path() / "hueweave-bench-XXXXXX").string();
    const int descriptor = mkstemp(path_.data());
    if (descriptor < 0) throw std::runtime_error("cannot make a temporary file");
    close(descriptor);
    demo::WriteFile(path_, shape.points == 0 ? demo::ScannerProfile() : Build(shape));
}

ProfileFile::~ProfileFile() {
    std::error_code ignored;
    std::filesystem::remove(path_, ignored);
}

ColorSpaceSignature Input(int bits) { return bits == 8 ? CsRGB_8 : CsRGB_16; }

std::unique_ptr<Engine> MakeEngine(const ProfileFile& profile, int bits, const Target& target) {
    auto engine = std::make_unique<Engine>();
    const int failed =
        engine->SetProfile(profile.Path(), IntentPerceptual, Input(bits), target.Space(bits), 0.0, 0.0, 0.0);
    if (failed != 0 || engine->InEntries == 0) throw std::runtime_error("the engine refused the profile");
    return engine;
}

ICC40::ICC_ENG_S4::Stages StagesOf(const Engine& engine) {
    return {{engine.Lut1DInR.get(), engine.Lut1DInG.get(), engine.Lut1DInB.get()},
            &engine.Lut3D[0][0],
            {engine.Lut1DOutR, engine.Lut1DOutG, engine.Lut1DOutB}};
}

cmsUInt32Number LcmsFormat(int bits) { return bits == 8 ? TYPE_RGB_8 : TYPE_RGB_16; }

LittleCms::LittleCms(const ProfileFile& profile, int bits, cmsUInt32Number flags, const Target& target)
    : from_(cmsOpenProfileFromFile(profile.Path(), "r")),
      to_(target.make()),
      transform_(cmsCreateTransform(from_, LcmsFormat(bits), to_, LcmsFormat(bits), INTENT_PERCEPTUAL, flags)) {
    if (transform_ == nullptr) throw std::runtime_error("Little CMS refused the profile");
}

LittleCms::~LittleCms() {
    cmsDeleteTransform(transform_);
    cmsCloseProfile(to_);
    cmsCloseProfile(from_);
}

void LittleCms::Transform(const void* source, void* dest, std::size_t pixels) const {
    cmsDoTransform(transform_, source, dest, static_cast<cmsUInt32Number>(pixels));
}

}  // namespace bench
