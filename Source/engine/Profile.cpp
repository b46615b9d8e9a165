// SPDX-License-Identifier: MIT
// Binds a profile: reads it, selects its table and builds the stages.
#include <utility>

#include "engine/Rebuild.h"

namespace ICC40::ICC_ENG_S4 {

using ICC4_HEADER::TagName;
using ICC_UNIT::kNoSpace;
using ICC_UNIT::kUnset;
using ICCFILE::CLut16Type;
using ICCFILE::ColorSpaceSignature;

namespace {

/// The table of an intent; "A2B1" replaces a missing table. An unknown intent means perceptual.
ICCFILE::icTagSignature TableOf(ICCFILE::Intent intent) {
    switch (intent) {
        case ICCFILE::IntentRelativeColorimetric:
        case ICCFILE::IntentAbsoluteColorimetric:
            return TagName("A2B1");
        case ICCFILE::IntentSaturation:
            return TagName("A2B2");
        default:
            return TagName("A2B0");
    }
}

}  // namespace

CIccEngineS::CIccEngineS() = default;

CIccEngineS::~CIccEngineS() = default;

void CIccEngineS::Reset() {
    Unit.Reset();
    Lut1DInR.reset();
    Lut1DInG.reset();
    Lut1DInB.reset();
    InEntries = 0;
}

int CIccEngineS::Refuse() {
    Unit.OutputSpace = kNoSpace;
    Unit.BuildResult = kUnset;
    return kUnset;
}

ICCFILE::iccTagBase* CIccEngineS::GetMft2() {
    ICCFILE::iccTagBase* tag = File.GetTag(TableOf(Unit.Intent));
    return tag != nullptr ? tag : File.GetTag(TagName("A2B1"));
}

void CIccEngineS::BuildStages(const CLut16Type& lut, double lightness, double chroma, double hue) {
    Set1DLutIn(&lut);
    Set3DLut(&lut, lightness, chroma, hue);
    Set1DLutOut(&lut);
}

int CIccEngineS::SetProfile(const char* profile, const char*, ICCFILE::Intent intent, ColorSpaceSignature input,
                            ColorSpaceSignature output, double lightness, double chroma, double hue) {
    return SetProfile(profile, intent, input, output, lightness, chroma, hue);
}

int CIccEngineS::SetProfile(const char* profile, ICCFILE::Intent intent, ColorSpaceSignature input,
                            ColorSpaceSignature output, double lightness, double chroma, double hue) {
    return BindOrRefuse(profile, {intent, input, output, lightness, chroma, hue});
}

int CIccEngineS::SetProfile(std::span<const unsigned char> profile, ICCFILE::Intent intent, ColorSpaceSignature input,
                            ColorSpaceSignature output, double lightness, double chroma, double hue) {
    return BindOrRefuse(profile, {intent, input, output, lightness, chroma, hue});
}

template <typename Profile>
int CIccEngineS::BindOrRefuse(Profile profile, const Job& job) {
    try {
        return Bind(profile, job);
    } catch (...) {
        File.Reset();  // a partially read profile must not be used
        Refuse();
        throw;
    }
}

bool CIccEngineS::Remember(const char* path) {
    const bool changed = Unit.CheckCurrentProfile(path, nullptr) != 0;
    return std::exchange(nameless_, false) || changed;
}

bool CIccEngineS::Remember(std::span<const unsigned char>) {
    Unit.CheckCurrentProfile(nullptr, nullptr);
    nameless_ = true;
    return true;
}

template <typename Profile>
int CIccEngineS::Bind(Profile profile, const Job& job) {
    // Always, even if the rest fails.
    const bool changed = Remember(profile);
    if (!changed && Unit.OutputSpace != kNoSpace && Unit.Intent == job.intent && Unit.InputSpace == job.input &&
        Unit.OutputSpace == job.output) {
        return 0;
    }
    Reset();
    Unit.InputSpace = job.input;
    Unit.OutputSpace = job.output;
    Unit.Intent = job.intent;
    File.Reset();
    Unit.ProfileState = 0;
    if (job.input != ICCFILE::CsRGB_8 && job.input != ICCFILE::CsRGB_16) {
        Refuse();
        return ICC_UNIT::kInputRange;
    }
    if (File.ReadFile(profile) != 0) {
        Refuse();
        return ICC_UNIT::kUnreadable;
    }
    // Kept: a profile without a lutAToB tag is not an error here; the output space stays as requested.
    Unit.BuildResult = InputColorSpace2RGB(job.lightness, job.chroma, job.hue);
    return 0;
}

int CIccEngineS::SetIntent(ICCFILE::Intent intent, ColorSpaceSignature input, ColorSpaceSignature output, double,
                           double, double) {
    if (Unit.InputSpace == input && Unit.Intent == intent && Unit.OutputSpace == output) return output;
    // Kept: neither the encoding nor the state of the profile is checked, so an empty engine stores the new values.
    Unit.InputSpace = input;
    Unit.OutputSpace = output;
    Unit.Intent = intent;
    // Kept: the fractional part of a value given to Adjust_Lch is lost here.
    return Rebuild([this](const CLut16Type& lut) { BuildStages(lut, Unit.Lightness, Unit.Chroma, Unit.Hue); });
}

int CIccEngineS::ConstructEngine(double lightness, double chroma, double hue) {
    return Unit.ProfileState == kUnset ? kUnset : InputColorSpace2RGB(lightness, chroma, hue);
}

int CIccEngineS::InputColorSpace2RGB(double lightness, double chroma, double hue) {
    return Rebuild([&](const CLut16Type& lut) { BuildStages(lut, lightness, chroma, hue); });
}

int CIccEngineS::Initial(int) { return ICC_UNIT::kNotImplemented; }

int CIccEngineS::DeleteWorkingBuf() { return ICC_UNIT::kNotImplemented; }

}  // namespace ICC40::ICC_ENG_S4
